#include "support/own_resolver.h"

#include <mutex>
#include <netdb.h>
#include <string>
#include <utility>
#include <vector>

#include "support/next_definition.h"

namespace {

using LookUp = int (*)(const char*, const char*, const addrinfo*, addrinfo**);

struct Current {
    std::mutex mutex;
    test_support::Resolver resolver;
};

Current& current() {
    static Current instance;
    return instance;
}

test_support::Resolver currentResolver() {
    const std::lock_guard<std::mutex> lock(current().mutex);
    return current().resolver;
}

/// All of them in one list, which freeaddrinfo() frees as a whole.
int listOf(LookUp lookUp, const std::vector<std::string>& addresses, const char* service, addrinfo hints,
           addrinfo** result) {
    hints.ai_flags |= AI_NUMERICHOST;
    addrinfo** end = result;
    for (const std::string& address : addresses) {
        const int error = lookUp(address.c_str(), service, &hints, end);
        if (error != 0)
            return error;
        while (*end != nullptr)
            end = &(*end)->ai_next;
    }
    return 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    static const auto next = nextDefinition<LookUp>("getaddrinfo");
    const bool isName = name != nullptr && hints != nullptr && (hints->ai_flags & AI_NUMERICHOST) == 0;
    const test_support::Resolver resolver = isName ? currentResolver() : nullptr;
    if (!resolver)
        return next(name, service, hints, result);
    std::vector<std::string> addresses;
    const int error = resolver(name, addresses);
    return error != 0 ? error : listOf(next, addresses, service, *hints, result);
}

void test_support::setResolver(Resolver resolver) {
    const std::lock_guard<std::mutex> lock(current().mutex);
    current().resolver = std::move(resolver);
}
