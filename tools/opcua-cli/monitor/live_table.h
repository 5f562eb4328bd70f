#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "monitor/output.h"
#include "monitor/row.h"
#include "monitor/screen_thread.h"
#include "monitor/table_view.h"
#include "monitor/write_dialogue.h"
#include "output/keys.h"
#include "output/table.h"
#include "output/terminal.h"

namespace opcua_cli {

/// The table that a person looks at: one row a node, with its last value, how old that is and where it went.
/// With keys it is scrolled, filtered, sorted and stopped, and values are written from it. What does not fit
/// into it is told at the end, once the terminal is as it was.
class LiveTable final : public MonitorOutput {
public:
    using Time = std::chrono::system_clock::time_point;
    using Clock = std::chrono::steady_clock;

    explicit LiveTable(const Monitored& monitored, bool withKeys = false);

    void change(const Change& change) override;
    void refused(std::size_t node) override;
    void leftOut(const Problem& problem) override;
    void silent(const std::vector<std::size_t>&) override {}
    void dropped(std::size_t count) override;
    void leftUnread(std::size_t count) override;
    void event(const LinkEvent& event) override;
    void flush() override;
    void end() override;

    bool isEnded() override;
    std::optional<std::size_t> arrayToRead(Clock::time_point now) override;
    void arrayRead(std::size_t node, const std::optional<std::string>& elements) override;
    std::optional<Job> valueToWrite() override;
    void written(const std::optional<Problem>& problem) override;

    /// As many lines as the terminal has rows, at most.
    std::string draw(const Terminal& terminal, Time now);
    void press(int key);

private:
    using Lock = std::lock_guard<std::mutex>;

    /// What the screen shows while it stands still.
    struct Still {
        Rows rows;
        std::size_t changes;
        Time time;
    };

    // Drawing
    std::string frame();
    std::string withoutKeys(const Terminal& terminal, Time now);
    std::string withKeys(const Terminal& terminal, Time now);
    std::string table(const Terminal& terminal, const std::vector<std::size_t>& nodes, Time now);
    std::string heading(const Terminal& terminal, const std::string& rest) const;
    std::string countsText() const;
    std::string remarks(const Terminal& terminal) const;
    std::string bottom(const Terminal& terminal);
    std::string status() const;
    Cell valueCell(const Row& row, const Job& watched) const;
    std::string presentText(std::size_t node) const;
    const Rows& shownRows() const { return m_still ? m_still->rows : m_rows; }

    /// A message below the table; the last few are kept.
    void remark(const std::string& text);
    void widenFor(std::size_t node);
    void forgetRefusals();
    void readArraysAgain();

    // Keys
    void pressInFilter(int key);
    void pressInDialogue(int key);
    void pressInTable(int key);
    void pause();
    void beginToWrite();

    const Monitored& m_monitored;
    std::mutex m_mutex; ///< all that follows but the screen: it is drawn, and keys come, on another thread
    bool m_withKeys;
    Rows m_rows;
    std::size_t m_changes = 0;
    std::string m_state = "connected";
    Tone m_stateTone = Tone::Good;
    bool m_up = true;
    std::deque<std::string> m_remarks;
    std::size_t m_valueWidth = 0; ///< only grows, so that the columns stand still
    std::vector<Problem> m_leftOut;

    TableView m_view;
    std::vector<std::size_t> m_onScreen;
    std::optional<Still> m_still; ///< while it is paused
    bool m_showsHelp = false;
    std::optional<LineInput> m_filterInput;
    std::optional<WriteDialogue> m_dialogue;
    std::optional<Job> m_toWrite;
    std::string m_writing; ///< "Speed = 17.5", until it is known what came of it
    Cell m_message{""};    ///< on the bottom line until the table's next key
    bool m_isEnded = false;

    std::unique_ptr<ScreenThread> m_screen; ///< from the first flush() to the end
};

} // namespace opcua_cli
