#pragma once

#include "output/terminal.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace opcua_cli {

/// One line on standard error that tells how far a long job is; only where standard error is a terminal. The
/// line goes with the object.
class Progress {
public:
    explicit Progress(std::string label);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::size_t count);

private:
    using Clock = std::chrono::steady_clock;

    std::string m_label;
    Terminal m_terminal;
    Clock::time_point m_nextShow;
    bool m_shown = false;
};

} // namespace opcua_cli
