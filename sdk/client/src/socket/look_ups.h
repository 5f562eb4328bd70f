#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "socket/deadline.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Names that are looked up at a time: each takes a thread...
constexpr std::size_t mostLookUps = 16;
/// ...and more of them when the resolver falls silent.
constexpr std::size_t mostLookUpThreads = 64;

/// What the resolver says of a name: numeric addresses, or why there are none.
struct Resolution {
    UaStatus status;
    std::vector<std::string> addresses;
    std::string reason;
};

/// The resolver has time-outs of its own, or none, and cannot be interrupted: it runs on a thread that is
/// left behind when the caller's time is over. Who asks for the same name meanwhile waits for the same
/// answer. After `patience` the name is looked up anew beside that, then after twice as long, and so on, and
/// the first that ends has the answer for all: a name may not depend on an answer that never comes, nor may
/// its threads become many.
///
/// Is not destroyed while one of them runs.
class LookUps {
public:
    using LookUp = std::function<Resolution(const std::string& host)>;

    LookUps(LookUp lookUp, std::chrono::milliseconds patience)
        : m_lookUp(std::move(lookUp)), m_patience(patience) {}
    LookUps(const LookUps&) = delete;
    LookUps& operator=(const LookUps&) = delete;

    Resolution ask(const std::string& host, const Deadline& deadline);

private:
    /// For one name.
    struct Question {
        explicit Question(std::chrono::milliseconds first) : patience(first) {}

        Clock::time_point dueAnew;
        std::chrono::milliseconds patience; ///< with the next look-up
        std::promise<Resolution> promise;
        std::shared_future<Resolution> answer = promise.get_future().share();
    };

    UaStatus join(const std::string& host, const Deadline& deadline, std::shared_future<Resolution>& answer);
    bool isToBeLookedUp(const std::string& host) const;
    UaStatus begin(const std::string& host);
    void run(const std::string& host, const std::shared_ptr<Question>& question);

    const LookUp m_lookUp;
    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::condition_variable m_oneEnded;
    std::map<std::string, std::shared_ptr<Question>> m_questions; ///< without an answer
    std::size_t m_threads = 0;
};

} // namespace UaClientSdk
