// An application whose teardown, among the static objects, takes until it is told to end (SIGUSR1) while its
// client, a static object too, is still there.
//   late_teardown_probe URL SECURITY CLIENT CRYPTOGRAPHY
//     SECURITY      secured | unsecured
//     CLIENT        connected | connecting     on another thread, again and again
//     CRYPTOGRAPHY  first-used-here | used-before     whether the application has used OpenSSL before
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include <openssl/rand.h>

#include "OpcUaClientInterface.h"

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::_Exit(1);
}

void say(const char* what) {
    std::puts(what);
    std::fflush(stdout);
}

sigset_t signalToEnd() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    return signals;
}

class Trust final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return 0; }
};

Trust trust;
COpcUaClientInterface client;

/// Destroyed before the client.
class Teardown {
public:
    Teardown() {
        const sigset_t signals = signalToEnd();
        sigprocmask(SIG_BLOCK, &signals, nullptr);
    }
    ~Teardown() {
        const sigset_t signals = signalToEnd();
        const timespec limit{60, 0};
        if (sigtimedwait(&signals, nullptr, &limit) != SIGUSR1)
            fail("nobody ended the teardown");
    }
    Teardown(const Teardown&) = delete;
    Teardown& operator=(const Teardown&) = delete;
};

Teardown teardown;

_OpcUaClientConfig configFor(const char* url, bool secured) {
    _OpcUaClientConfig config = {};
    config.timeout = 20000;
    std::strncpy(config.endpointUrl, url, sizeof config.endpointUrl - 1);
    config.securityPolicy = secured ? 3 : 0;
    config.securityMode = secured ? 2 : 0;
    return config;
}

/// Nobody waits for this thread.
void connectAgainAndAgain(const _OpcUaClientConfig& config) {
    std::promise<int> first;
    std::future<int> result = first.get_future();
    std::thread([own = config, first = std::move(first)]() mutable {
        auto* const another = new COpcUaClientInterface;
        another->installOpcUaCallBack(&trust);
        first.set_value(another->OpcUaConnect(own));
        while (another->OpcUaConnect(own) == 0) {
        }
        say("refused");
        for (;;)
            another->OpcUaConnect(own);
    }).detach();
    if (result.get() != 0)
        fail("connect failed");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5)
        fail("usage: late_teardown_probe URL SECURITY CLIENT CRYPTOGRAPHY");
    if (std::string(argv[4]) == "used-before") {
        unsigned char byte = 0;
        if (RAND_bytes(&byte, 1) != 1)
            fail("no random numbers");
    }
    const _OpcUaClientConfig config = configFor(argv[1], std::string(argv[2]) == "secured");
    if (std::string(argv[3]) == "connecting") {
        connectAgainAndAgain(config);
    } else {
        client.installOpcUaCallBack(&trust);
        _OpcUaClientConfig own = config;
        if (client.OpcUaConnect(own) != 0)
            fail("connect failed");
    }
    say("tearing down");
    std::exit(0);
}
