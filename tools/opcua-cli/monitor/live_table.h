#pragma once

#include "monitor/output.h"
#include "monitor/trend.h"
#include "output/live_screen.h"
#include "output/table.h"
#include "output/terminal.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace opcua_cli {

/// The table that a person looks at: one row a node, with its last value, how old that is and where it went.
/// What does not fit into it is told at the end, once the terminal is as it was.
class LiveTable final : public MonitorOutput {
public:
    using Time = std::chrono::system_clock::time_point;

    explicit LiveTable(const Monitored& monitored);

    void change(const Change& change) override;
    void refused(std::size_t node) override;
    void leftOut(const Problem& problem) override;
    void silent(const std::vector<std::size_t>&) override {}
    void dropped(std::size_t count) override;
    void event(const LinkEvent& event) override;
    void flush() override;
    void end() override;

    /// As many lines as the terminal has rows, at most.
    std::string draw(const Terminal& terminal, Time now);

private:
    struct Row {
        Change last{};
        bool refused = false;
        bool changed = false; ///< since it is monitored
        Trend trend{};
    };

    /// A message below the table; the last few are kept.
    void remark(const std::string& text);
    std::string frame();
    std::string heading(const Terminal& terminal) const;
    std::string rows(const Terminal& terminal, std::size_t count, Time now);
    Cell valueCell(std::size_t node) const;
    std::string typeOf(std::size_t node) const;

    const Monitored& m_monitored;
    std::vector<Row> m_rows;
    std::size_t m_changes = 0;
    std::string m_state = "connected";
    Tone m_stateTone = Tone::Good;
    bool m_up = true;
    std::deque<std::string> m_remarks;
    std::size_t m_valueWidth = 0; ///< only grows, so that the columns stand still
    std::vector<Problem> m_problems;
    std::chrono::steady_clock::time_point m_drawn{};
    std::unique_ptr<LiveScreen> m_screen; ///< from the first drawing to the end
};

} // namespace opcua_cli
