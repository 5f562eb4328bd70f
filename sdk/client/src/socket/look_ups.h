#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "socket/deadline.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// Names that are looked up at a time: each takes a thread.
constexpr std::size_t mostLookUps = 16;

/// What the resolver says of a name: numeric addresses, or why there are none.
struct Resolution {
    UaStatus status;
    std::vector<std::string> addresses;
    std::string reason;
};

/// The resolver has time-outs of its own, or none, and cannot be interrupted: it runs on a thread that is
/// left behind when the caller's time is over. Who asks for the same name meanwhile waits for the same
/// answer. After `patience` the name is looked up anew beside that, then after twice as long, and so on: a
/// name may not depend on an answer that never comes, nor may its threads become many.
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
    struct Running {
        Clock::time_point begun;
        std::shared_future<Resolution> answer;
    };
    /// Those of one name in the order of their beginning.
    using AllRunning = std::multimap<std::string, Running>;

    UaStatus join(const std::string& host, const Deadline& deadline, std::shared_future<Resolution>& answer);
    const Running* running(const std::string& host) const;
    UaStatus begin(const std::string& host, std::shared_future<Resolution>& answer);
    void run(AllRunning::iterator self, std::promise<Resolution>& promise);

    const LookUp m_lookUp;
    const std::chrono::milliseconds m_patience;
    std::mutex m_mutex;
    std::condition_variable m_oneEnded;
    AllRunning m_running;
};

} // namespace UaClientSdk
