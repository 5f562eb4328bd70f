#pragma once

#include <functional>

#include "output/table.h"
#include "values/job.h"

namespace opcua_cli {

using SameValue = std::function<bool(const Value&, const Value&)>;

/// Adds what differs to a table of node, name, type, index, old, new and result: a row for a single value,
/// one for each of the first ten elements that differ in an array; a row without values where nothing does.
void addDifferences(Table& table, const NodeInfo& node, const NodeValue& old, const NodeValue& present,
                    const Cell& result,
                    const SameValue& same = static_cast<bool (*)(const Value&, const Value&)>(isSame));

} // namespace opcua_cli
