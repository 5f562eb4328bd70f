#pragma once

#include <chrono>
#include <cstddef>
#include <utility>

#include "lines.h"
#include "monitor/live_table.h"

/// What a live table is made and looked at with.
namespace cli_test {

inline const opcua_cli::LiveTable::Time start{std::chrono::hours(500000)};

inline opcua_cli::Terminal terminal(std::size_t width = 100, std::size_t height = 24) {
    opcua_cli::Terminal result;
    result.interactive = true;
    result.width = width;
    result.height = height;
    return result;
}

inline opcua_cli::Change changed(std::size_t node, opcua_cli::Value value,
                                 opcua_cli::LiveTable::Time time = start) {
    opcua_cli::Change change;
    change.node = node;
    change.value = std::move(value);
    change.time = time;
    return change;
}

} // namespace cli_test
