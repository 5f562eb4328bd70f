#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>

#include "OpcUaHelpers.h"

namespace window_panel {

/// Where the thread that connects waits for what a person decides on a certificate.
class TrustQuestion {
public:
    /// Before the person is told of the question.
    void open();
    /// Waits for as long as the person takes. OpcUaTrust_Reject once nobody can be asked any more.
    OpcUaTrust await();
    /// Answers the question that is open; without one it is forgotten.
    void answer(OpcUaTrust answer);
    /// Nobody can be asked any more.
    void close();

private:
    std::mutex m_mutex;
    std::condition_variable m_answered;
    std::optional<OpcUaTrust> m_answer;
    bool m_open = false;
    bool m_closed = false;
};

} // namespace window_panel
