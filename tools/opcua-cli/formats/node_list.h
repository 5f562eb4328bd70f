#pragma once

#include <string>

#include "values/job.h"

namespace opcua_cli {

/// The nodes that a CSV or JSON file names ("-": standard input), at least one, with their values or without;
/// README.md has the forms. Throws Failure (Usage) that says which line is wrong.
Jobs readNodeList(const std::string& path, bool withValues);

} // namespace opcua_cli
