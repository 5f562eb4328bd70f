#include "socket/name_resolution.h"

#include <chrono>
#include <exception>
#include <future>
#include <memory>
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

std::vector<std::string> lookUp(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    std::vector<std::string> addresses;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0)
        return addresses;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        char text[NI_MAXHOST];
        if (getnameinfo(entry->ai_addr, entry->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) ==
            0) {
            addresses.emplace_back(text);
        }
    }
    return addresses;
}

} // namespace

std::vector<std::string> resolveHost(const std::string& host, const Deadline& deadline) {
    std::vector<std::string> numeric = lookUp(host, AI_NUMERICHOST);
    if (!numeric.empty())
        return numeric;
    // The resolver has time-outs of its own and cannot be interrupted: it runs on a thread that is left
    // behind when the caller's time is over.
    std::promise<std::vector<std::string>> promise;
    std::future<std::vector<std::string>> answer = promise.get_future();
    try {
        const SignalsBlocked blocked;
        std::thread([host, promise = std::move(promise)]() mutable {
            try {
                promise.set_value(lookUp(host, 0));
            } catch (const std::bad_alloc&) {
                promise.set_exception(std::current_exception());
            }
        }).detach();
    } catch (const std::system_error& error) {
        UaTrace::write(UaTrace::Errors, "connect", "no thread to resolve \"%s\": %s", host.c_str(),
                       error.what());
        return {};
    }
    if (answer.wait_for(std::chrono::milliseconds(deadline.remaining())) != std::future_status::ready)
        return {};
    return answer.get();
}

} // namespace UaClientSdk
