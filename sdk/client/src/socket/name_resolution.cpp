#include "socket/name_resolution.h"

#include <cerrno>
#include <chrono>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <new>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "own_thread.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

struct Resolution {
    UaStatus status;
    std::vector<std::string> addresses;
    std::string reason;
};

/// Whether it is the name that is wrong, and not the resolver.
bool isAboutName(int error) {
    return error == EAI_NONAME || error == EAI_NODATA || error == EAI_ADDRFAMILY || error == EAI_IDN_ENCODE;
}

Resolution failed(int error, int systemError) {
    const UaStatus status = isAboutName(error)    ? UA_STATUSCODE_BADNOTFOUND
                            : error == EAI_MEMORY ? UA_STATUSCODE_BADOUTOFMEMORY
                                                  : UA_STATUSCODE_BADCOMMUNICATIONERROR;
    return {
        status, {}, error == EAI_SYSTEM ? std::system_category().message(systemError) : gai_strerror(error)};
}

Resolution lookUp(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (error != 0)
        return failed(error, errno);
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    Resolution answer;
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        char text[NI_MAXHOST];
        if (getnameinfo(entry->ai_addr, entry->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) ==
            0) {
            answer.addresses.emplace_back(text);
        }
    }
    return answer.addresses.empty() ? failed(EAI_NODATA, 0) : answer;
}

/// The resolver has time-outs of its own and cannot be interrupted: it runs on a thread that is left behind
/// when the caller's time is over. Who asks for the same name meanwhile waits for the same answer.
class LookUps {
public:
    Resolution ask(const std::string& host, const Deadline& deadline) {
        std::shared_future<Resolution> answer;
        const UaStatus status = join(host, answer);
        if (status.isBad())
            return {status, {}, "too many look-ups or threads at a time"};
        if (answer.wait_for(std::chrono::milliseconds(deadline.remaining())) != std::future_status::ready)
            return {UA_STATUSCODE_BADTIMEOUT, {}, "the resolver does not answer in time"};
        return answer.get();
    }

private:
    UaStatus join(const std::string& host, std::shared_future<Resolution>& answer) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto running = m_running.find(host);
        if (running != m_running.end()) {
            answer = running->second;
            return UaStatus();
        }
        if (m_running.size() >= mostLookUps)
            return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
        std::promise<Resolution> promise;
        answer = promise.get_future().share();
        UaStatus status;
        // It has to wait for the lock before it removes what it is noted as.
        std::thread thread = startOwnThread(
            [this, host, promise = std::move(promise)]() mutable { run(host, promise); }, status);
        if (!status.isBad()) {
            thread.detach();
            m_running.emplace(host, answer);
        }
        return status;
    }

    void run(const std::string& host, std::promise<Resolution>& promise) {
        Resolution answer;
        try {
            answer = lookUp(host, 0);
        } catch (const std::bad_alloc&) {
            answer = {UA_STATUSCODE_BADOUTOFMEMORY, {}, ""};
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_running.erase(host);
        }
        promise.set_value(std::move(answer));
    }

    std::mutex m_mutex;
    std::map<std::string, std::shared_future<Resolution>> m_running;
};

/// Never destroyed: threads may still look up when the process ends.
LookUps& lookUps() {
    static LookUps* const instance = new LookUps;
    return *instance;
}

} // namespace

UaStatus resolveHost(const std::string& host, const Deadline& deadline, std::vector<std::string>& addresses) {
    Resolution answer = lookUp(host, AI_NUMERICHOST);
    if (answer.status.isBad())
        answer = lookUps().ask(host, deadline);
    if (answer.status.isBad()) {
        UaTrace::write(UaTrace::Errors, "connect", "the host name \"%s\" does not resolve: %s (%s)",
                       host.c_str(), answer.reason.c_str(), answer.status.name());
    }
    addresses = std::move(answer.addresses);
    return answer.status;
}

} // namespace UaClientSdk
