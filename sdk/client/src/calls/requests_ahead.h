#pragma once

#include <cstddef>
#include <mutex>

#include "calls/window.h"

namespace UaClientSdk {

/// How many requests of a series a session may have on their way: what it was told, or what its server has
/// shown that it can do with. Any thread.
///
/// What the server refused is tried again: the number doubles with each long enough series that goes without
/// a refusal, and with every second, fourth, ... one when it was refused again. What cost a request its
/// answer is not tried again.
class RequestsAhead {
public:
    explicit RequestsAhead(std::size_t most) { begin(most); }

    /// A new connection.
    void begin(std::size_t most);
    std::size_t current() const;
    /// Learns from a series that is over.
    void learnFrom(const Window& series);

private:
    mutable std::mutex m_mutex; ///< guards what follows
    std::size_t m_most = 1;
    std::size_t m_current = 1;
    unsigned int m_wait = 1;     ///< series between two doublings
    unsigned int m_nextWait = 1; ///< after the next refusal
    unsigned int m_passed = 0;   ///< series since the number changed
};

} // namespace UaClientSdk
