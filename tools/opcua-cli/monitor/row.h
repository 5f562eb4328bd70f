#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "failure.h"
#include "monitor/change_inbox.h"
#include "monitor/trend.h"

namespace opcua_cli {

/// What a live table knows of one node.
struct Row {
    Change last{};
    std::optional<Problem> refusal{};
    bool changed = false; ///< since it is monitored
    Trend trend{};

    // Of an array that is followed as a whole.
    std::string elements{}; ///< as they were read; empty before they were
    bool unread = false;    ///< changed since then
    std::chrono::steady_clock::time_point readAt{};
};

using Rows = std::vector<Row>;

} // namespace opcua_cli
