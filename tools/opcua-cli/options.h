#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "security/options.h"

namespace opcua_cli {

class Connection;

constexpr const char* endlessly = "endlessly";

/// What every sub-command takes.
struct CommonOptions {
    std::string url;
    bool json = false;
    int traceLevel = 0;
    std::shared_ptr<Connection> session{}; ///< a shell's, that its commands share
    bool verbose = false;
    std::string wait; ///< seconds to wait for a server that isn't there yet, or `endlessly`; empty for none

    CommonOptions() = default;
    virtual ~CommonOptions() = default;
    CommonOptions(const CommonOptions&) = default;
    CommonOptions& operator=(const CommonOptions&) = default;

    /// True when the library will look for its files, or write them.
    virtual bool needsFiles() const { return traceLevel != 0; }
    /// Null where there are none.
    virtual SecurityOptions* securityOptions() { return nullptr; }
};

/// What every sub-command takes that opens a connection.
struct ConnectOptions : CommonOptions {
    int timeoutMilliseconds = 5000;
    SecurityOptions security;

    bool needsFiles() const override { return CommonOptions::needsFiles() || security.isWanted(); }
    SecurityOptions* securityOptions() override { return &security; }
};

/// Default bound of everything that walks through an address space.
constexpr std::size_t defaultMaxNodes = 20000;

} // namespace opcua_cli
