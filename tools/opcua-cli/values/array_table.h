#pragma once

#include <string>

#include "output/terminal.h"
#include "values/node_value.h"

namespace opcua_cli {

/// An array or matrix that needs lines of its own: a matrix, or an array that is too long for a table's cell.
bool needsTable(const NodeValue& value);

/// Rows with the index of their first element: of an array one element a line for texts, ten for all else; a
/// matrix as it is; of more dimensions one table for each matrix of the last two. Only texts are ever cut.
std::string arrayTable(const NodeValue& value, const Terminal& terminal);

} // namespace opcua_cli
