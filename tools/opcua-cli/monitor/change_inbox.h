#pragma once

#include "OpcUaTypes.h"
#include "change.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {

/// Takes changes on the library's thread and keeps them for the program's own, which may be busy writing.
/// When too many wait the oldest are dropped and counted.
class ChangeInbox {
public:
    explicit ChangeInbox(std::size_t capacity = 100000);
    ~ChangeInbox();
    ChangeInbox(const ChangeInbox&) = delete;
    ChangeInbox& operator=(const ChangeInbox&) = delete;

    /// Node ids in the order of their indices. What comes for other nodes is of no interest.
    void expect(const std::vector<std::string>& nodeIds);

    void take(const _OpcUaDataChangeMsg& message);

    /// Everything that has come, oldest first.
    std::deque<Change> collect();
    /// How many were dropped since the last call.
    std::size_t collectDropped();

    /// Readable while changes wait.
    int descriptor() const { return m_wakeUp; }

private:
    std::mutex m_mutex;
    const std::size_t m_capacity;
    const int m_wakeUp;
    std::map<std::string, std::size_t, std::less<>> m_indices;
    std::deque<Change> m_changes;
    std::size_t m_dropped = 0;
};

} // namespace opcua_cli
