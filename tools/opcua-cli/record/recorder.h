#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "monitor/output.h"
#include "record/recording.h"

namespace opcua_cli {

/// Writes what comes into a recording, and what people should know to standard error as well.
class Recorder final : public MonitorOutput {
public:
    /// All must live on; `changes` is counted up.
    Recorder(const Monitored& monitored, Recording& recording, std::size_t& changes);

    void change(const Change& change) override;
    void refused(std::size_t node) override;
    void leftOut(const Problem& problem) override;
    void silent(const std::vector<std::size_t>&) override {}
    void dropped(std::size_t count) override;
    void leftUnread(std::size_t count) override;
    void event(const LinkEvent& event) override;
    int descriptor() const override { return -1; }
    void flush() override { m_recording.commitWhenDue(); }
    /// What another program's lock holds up then is left to the recording's last commit().
    void end() override;

private:
    /// A row that is no change of a value; on disk when this returns, unless another program keeps the file
    /// locked.
    void note(const char* event, std::int64_t node, const std::string& text);

    const Monitored& m_monitored;
    Recording& m_recording;
    std::int64_t m_server;
    std::vector<std::int64_t> m_nodes;
    std::size_t& m_changes;
};

} // namespace opcua_cli
