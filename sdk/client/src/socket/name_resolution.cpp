#include "socket/name_resolution.h"

#include <cerrno>
#include <chrono>
#include <memory>
#include <netdb.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <utility>
#include <vector>

#include "socket/look_ups.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Longer than a resolver takes as a rule that gives up.
constexpr std::chrono::seconds resolverPatience(30);

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

/// Never destroyed: threads may still look up when the process ends.
LookUps& lookUps() {
    static LookUps* const instance =
        new LookUps([](const std::string& host) { return lookUp(host, 0); }, resolverPatience);
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
