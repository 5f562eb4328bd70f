#include "soak/network.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>

namespace soak {
namespace {

using test_support::OutageProxy;

// What the signals say.
constexpr int holdEverything = SIGUSR1;
constexpr int loseEverything = SIGUSR2;
constexpr int speakAgain = SIGHUP;

} // namespace

Network::Network(std::uint16_t targetPort)
    : m_process(std::filesystem::read_symlink("/proc/self/exe"),
                {networkOption, std::to_string(targetPort)}) {}

void Network::fallSilent(OutageProxy::Silence kind) const {
    kill(m_process.pid(), kind == OutageProxy::Silence::Held ? holdEverything : loseEverything);
}

void Network::speak() const {
    kill(m_process.pid(), speakAgain);
}

int runNetwork(std::uint16_t targetPort) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int one : {holdEverything, loseEverything, speakAgain, SIGTERM})
        sigaddset(&signals, one);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr); // for the proxy's thread as well
    OutageProxy proxy(targetPort);
    std::cout << "network: ready at " << proxy.url() << '\n' << std::flush;
    for (int received = 0; sigwait(&signals, &received) == 0 && received != SIGTERM;) {
        if (received == speakAgain) {
            proxy.speak();
        } else {
            proxy.fallSilent(received == holdEverything ? OutageProxy::Silence::Held
                                                        : OutageProxy::Silence::Lost);
        }
    }
    return 0;
}

} // namespace soak
