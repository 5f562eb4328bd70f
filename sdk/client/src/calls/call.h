#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "channel/secure_channel.h"
#include "socket/deadline.h"
#include "uabase/status.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The answers of a series that came before their turn. The pipe's lock guards it, as it does a Call whose
/// answer may still come.
struct KeptAnswers {
    /// Bytes. One that is too much is dropped, and its call fails with BadEncodingLimitsExceeded.
    static constexpr std::size_t most = 2 * SecureChannel::largestMessage;

    std::size_t bytes = 0;   ///< of those that are here
    std::size_t largest = 0; ///< of all that came
};

/// A call: its thread's, which sends the request and takes the answer.
struct Call {
    explicit Call(const Deadline& timeOut, KeptAnswers* series = nullptr) : deadline(timeOut), kept(series) {}

    /// The answer has come, at this time, while its thread does not read. The pipe is locked.
    void answer(const IncomingMessage& message, Clock::time_point at);
    /// The same while its thread does read, which takes the answer itself. The pipe is locked.
    void noteAnswer(const IncomingMessage& message, Clock::time_point at);
    /// There is no answer and there will be none. The pipe is locked.
    void end(UaStatus reason);

    const Deadline deadline;
    KeptAnswers* const kept; ///< of the series that it is one of; else null
    std::uint32_t requestId = 0;
    Clock::time_point sentAt;
    Clock::time_point answeredAt; ///< when the answer was read off the socket
    bool waits = false;           ///< for another thread to read, or to pass the reading on
    bool mayRead = false;
    bool answered = false;
    bool hasMessage = false; ///< from the server; else it was ended here
    UaStatus status;
    std::vector<OpcUa_Byte> body;
    std::condition_variable wakeUp;
};

} // namespace UaClientSdk
