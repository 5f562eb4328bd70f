#pragma once

#include "security/options.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

constexpr const char* endlessly = "endlessly";

/// What every sub-command takes.
struct CommonOptions {
    std::string url;
    bool json = false;
    int traceLevel = 0;
    bool verbose = false;
    std::string wait; ///< seconds to wait for a server that isn't there yet, or `endlessly`; empty for none

    CommonOptions() = default;
    virtual ~CommonOptions() = default;
    CommonOptions(const CommonOptions&) = default;
    CommonOptions& operator=(const CommonOptions&) = default;

    /// True when the library will look for its files, or write them.
    virtual bool needsFiles() const { return traceLevel != 0; }
};

/// What every sub-command takes that opens a connection.
struct ConnectOptions : CommonOptions {
    int timeoutMilliseconds = 5000;
    SecurityOptions security;

    bool needsFiles() const override { return CommonOptions::needsFiles() || security.isWanted(); }
};

/// Default bound of everything that walks through an address space.
constexpr std::size_t defaultMaxNodes = 20000;

} // namespace opcua_cli
