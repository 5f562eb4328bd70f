#include "socket/look_ups.h"

#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
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
    UaStatus status;
    for (;;) {
        if (isToBeLookedUp(host))
            status = begin(host);
        // One that does not begin leaves those that run already.
        const auto question = m_questions.find(host);
        if (question != m_questions.end()) {
            answer = question->second->answer;
            return UaStatus();
        }
        if (status.isBad())
            return status;
        if (m_oneEnded.wait_for(lock, std::chrono::milliseconds(deadline.remaining())) ==
                std::cv_status::timeout &&
            deadline.expired()) {
            return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
        }
    }
}

bool LookUps::isToBeLookedUp(const std::string& host) const {
    if (m_threads >= mostLookUpThreads)
        return false;
    const auto known = m_questions.find(host);
    if (known == m_questions.end())
        return m_questions.size() < mostLookUps;
    return Clock::now() >= known->second->dueAnew;
}

UaStatus LookUps::begin(const std::string& host) {
    const auto known = m_questions.find(host);
    const bool isNew = known == m_questions.end();
    UaStatus status;
    try {
        const auto question = isNew ? std::make_shared<Question>(m_patience) : known->second;
        if (isNew)
            m_questions.emplace(host, question);
        std::thread thread = startOwnThread([this, host, question]() { run(host, question); }, status);
        if (!status.isBad()) {
            thread.detach();
            question->dueAnew = Clock::now() + question->patience;
            question->patience *= 2;
            ++m_threads;
        }
    } catch (const std::bad_alloc&) {
        status = UA_STATUSCODE_BADOUTOFMEMORY;
    }
    if (status.isBad() && isNew)
        m_questions.erase(host);
    return status;
}

void LookUps::run(const std::string& host, const std::shared_ptr<Question>& question) {
    Resolution answer;
    try {
        answer = m_lookUp(host);
    } catch (const std::bad_alloc&) {
        answer = {UA_STATUSCODE_BADOUTOFMEMORY, {}, ""};
    }
    bool isFirst = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_threads;
        const auto open = m_questions.find(host);
        isFirst = open != m_questions.end() && open->second == question;
        if (isFirst)
            m_questions.erase(open);
        m_oneEnded.notify_all();
    }
    if (isFirst)
        question->promise.set_value(std::move(answer));
}

} // namespace UaClientSdk
