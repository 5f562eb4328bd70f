#pragma once

#include <functional>

#include "uabase/arrays.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Requests of one service that need not wait for each other's answers.
///
/// The session sends them in order, one after the other, while up to SessionConnectInfo::requestsAhead of
/// them have no answer yet, and gives out the answers in that order, too, on the calling thread. It sends
/// none twice. How many are on their way at a time is for it to find out: two at first, more while the server
/// answers quickly, fewer when it answers slowly, at length, not at all, or with a refusal.
///
/// Neither function may use the session.
template <typename Questions, typename Answers>
struct RequestSequence {
    /// Puts the next request into `questions`, which is the same object each time; false when there is none.
    /// What its views borrow is needed until the next call of either function.
    std::function<bool(Questions& questions)> next;
    /// Takes the status of the call and what it answered, as the service itself would have given it. False
    /// when there is to be no further answer: no further request is sent then, and of those that are on their
    /// way the answers are dropped.
    std::function<bool(UaStatus status, Answers& answers)> answered;
};

using ReadSequence = RequestSequence<UaReadValueIds, UaDataValues>;
using CreateItemsSequence = RequestSequence<UaMonitoredItemCreateRequests, UaMonitoredItemCreateResults>;

} // namespace UaClientSdk
