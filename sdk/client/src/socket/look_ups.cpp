#include "socket/look_ups.h"

#include <chrono>
#include <condition_variable>
#include <future>
#include <iterator>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "own_thread.h"

namespace UaClientSdk {

Resolution LookUps::ask(const std::string& host, const Deadline& deadline) {
    std::shared_future<Resolution> answer;
    const UaStatus status = join(host, deadline, answer);
    if (status.isBad())
        return {status, {}, "too many look-ups or threads at a time"};
    if (answer.wait_for(std::chrono::milliseconds(deadline.remaining())) != std::future_status::ready)
        return {UA_STATUSCODE_BADTIMEOUT, {}, "the resolver does not answer in time"};
    return answer.get();
}

UaStatus LookUps::join(const std::string& host, const Deadline& deadline,
                       std::shared_future<Resolution>& answer) {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (const Running* const known = running(host)) {
            answer = known->answer;
            return UaStatus();
        }
        if (m_running.size() < mostLookUps)
            return begin(host, answer);
        if (m_oneEnded.wait_for(lock, std::chrono::milliseconds(deadline.remaining())) ==
                std::cv_status::timeout &&
            deadline.expired()) {
            return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
        }
    }
}

/// The newest look-up of the name, while it may be waited for.
const LookUps::Running* LookUps::running(const std::string& host) const {
    const auto [first, end] = m_running.equal_range(host);
    if (first == end)
        return nullptr;
    const Running& newest = std::prev(end)->second;
    const auto patience = m_patience * (1U << (std::distance(first, end) - 1));
    return Clock::now() - newest.begun < patience || m_running.size() >= mostLookUps ? &newest : nullptr;
}

UaStatus LookUps::begin(const std::string& host, std::shared_future<Resolution>& answer) {
    std::promise<Resolution> promise;
    answer = promise.get_future().share();
    const auto self = m_running.emplace(host, Running{Clock::now(), answer});
    UaStatus status;
    try {
        std::thread thread = startOwnThread(
            [this, self, promise = std::move(promise)]() mutable { run(self, promise); }, status);
        if (!status.isBad())
            thread.detach();
    } catch (const std::bad_alloc&) {
        status = UA_STATUSCODE_BADOUTOFMEMORY;
    }
    if (status.isBad())
        m_running.erase(self);
    return status;
}

void LookUps::run(AllRunning::iterator self, std::promise<Resolution>& promise) {
    Resolution answer;
    try {
        answer = m_lookUp(self->first);
    } catch (const std::bad_alloc&) {
        answer = {UA_STATUSCODE_BADOUTOFMEMORY, {}, ""};
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_running.erase(self);
        m_oneEnded.notify_all();
    }
    promise.set_value(std::move(answer));
}

} // namespace UaClientSdk
