#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "OpcUaTypes.h"
#include "files/descriptor.h"
#include "values/value.h"

namespace opcua_cli {

/// What the library delivered.
struct Change {
    std::size_t node = 0; ///< index among the nodes that are followed
    Value value{};
    bool cut = false;                             ///< a text may be longer than the library delivers
    bool readable = true;                         ///< false when the value had to be read and could not
    std::chrono::system_clock::time_point time{}; ///< of arrival: the library does not tell the server's
};

/// Notes changes on the library's thread and keeps them for the program's own, which may be busy writing.
/// When too many wait the oldest are dropped and counted.
class ChangeInbox {
public:
    explicit ChangeInbox(std::size_t capacity = 100000);

    /// Node ids in the order of their indices. What comes for other nodes is of no interest.
    void expect(const std::vector<std::string>& nodeIds);

    void add(const _OpcUaDataChangeMsg& message);

    /// Everything that has come, oldest first.
    std::deque<Change> collect();
    /// How many were dropped since the last call.
    std::size_t collectDropped();

    /// Readable while changes wait.
    int descriptor() const { return m_wakeUp.number(); }

private:
    std::mutex m_mutex;
    const std::size_t m_capacity;
    const Descriptor m_wakeUp;
    std::map<std::string, std::size_t, std::less<>> m_indices;
    std::deque<Change> m_changes;
    std::size_t m_dropped = 0;
};

} // namespace opcua_cli
