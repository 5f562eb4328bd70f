#pragma once

#include "../nodes/value.h"
#include "../options.h"

#include <optional>
#include <string>

namespace opcua_cli {

/// What the commands take that handle values.
struct ValueOptions : ConnectOptions {
    std::string typeName;
    std::size_t maxNodes = defaultMaxNodes;

    std::optional<_OpcUaDataType> statedType() const { return typeFromName(typeName); }
};

void addValueOptions(CLI::App& command, ValueOptions& options, const std::string& typeDescription);

} // namespace opcua_cli
