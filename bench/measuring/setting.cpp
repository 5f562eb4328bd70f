#include "measuring/setting.h"

#include <string>
#include <vector>

namespace bench {

// Large folders come in pages, as from most servers.
Setting::Setting(bool smoke) : m_smoke(smoke), m_server({"--page-size", "500"}) {}

const test_support::PlantServer& Setting::securedServer() {
    if (!m_securedServer)
        m_securedServer.emplace(std::vector<std::string>{"--security"});
    return *m_securedServer;
}

const test_support::PlantServer& Setting::tagServer() {
    if (!m_tagServer) {
        m_tagServer.emplace(std::vector<std::string>{"--tags", std::to_string(tagCount()), "--change-tags",
                                                     std::to_string(tagCount() / 2), "--change-interval",
                                                     std::to_string(tagChangeInterval.count())});
    }
    return *m_tagServer;
}

const test_support::PlantServer& Setting::restingServer() {
    if (!m_restingServer) {
        m_restingServer.emplace(
            std::vector<std::string>{"--tags", std::to_string(tagCount()), "--min-sampling", "60000"});
    }
    return *m_restingServer;
}

const IdleClients& Setting::idleClients() {
    using std::chrono::milliseconds;
    if (!m_idleClients) {
        m_idleClients =
            measureIdleClients(url(), either(10, 2), either(milliseconds(20000), milliseconds(200)));
    }
    return *m_idleClients;
}

const ChangeLatencies& Setting::changeLatencies() {
    if (!m_changeLatencies)
        m_changeLatencies = measureChangeLatencies(url(), either(120, 2));
    return *m_changeLatencies;
}

} // namespace bench
