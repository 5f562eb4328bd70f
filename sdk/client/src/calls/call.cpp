#include "calls/call.h"

#include <algorithm>
#include <cstddef>

#include "uabase/trace.h"

namespace UaClientSdk {

void Call::noteAnswer(const IncomingMessage& message, Clock::time_point at) {
    answeredAt = at;
    if (kept != nullptr)
        kept->largest = std::max(kept->largest, message.body.size);
}

void Call::answer(const IncomingMessage& message, Clock::time_point at) {
    noteAnswer(message, at);
    const std::size_t size = message.body.size;
    if (kept != nullptr) {
        if (size > KeptAnswers::most - kept->bytes) {
            UaTrace::write(UaTrace::Errors, "channel",
                           "an answer of %zu bytes before its turn is dropped: %zu bytes of others wait",
                           size, kept->bytes);
            end(UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED);
            return;
        }
        kept->bytes += size;
    }
    body.assign(message.body.data, message.body.data + size);
    status = message.status;
    hasMessage = true;
    answered = true;
}

void Call::end(UaStatus reason) {
    status = reason;
    answered = true;
}

} // namespace UaClientSdk
