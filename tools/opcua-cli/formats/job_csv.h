#pragma once

#include <string>

#include "values/job.h"

namespace opcua_cli {

/// The value as a field: a text as it is, an array as JSON; empty for none.
std::string valueField(const NodeValue& value);

/// A line for each job under the heading "node,nodeId,displayName,type,index,value,error"; as a node list it
/// names the same nodes with these values.
std::string jobsCsv(const Jobs& jobs);

} // namespace opcua_cli
