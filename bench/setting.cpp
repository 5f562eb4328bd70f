#include "setting.h"

namespace bench {

// Large folders come in pages, as from most servers.
Setting::Setting(bool smoke) : m_smoke(smoke), m_server({"--page-size", "500"}) {}

const IdleClients& Setting::idleClients() {
    using std::chrono::milliseconds;
    if (!m_idleClients) {
        m_idleClients =
            measureIdleClients(url(), either(10, 2), either(milliseconds(20000), milliseconds(200)));
    }
    return *m_idleClients;
}

} // namespace bench
