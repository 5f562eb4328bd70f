#include "soak/steady_client.h"

#include <chrono>
#include <functional>
#include <stdexcept>

namespace soak {

bool SteadyClient::ensure(const std::function<bool()>& prepare) {
    constexpr int usable = 1;
    constexpr int silent = 2;
    const auto now = std::chrono::steady_clock::now();
    const int status = m_client.OpcUaGetConnectStatus();
    if (m_connected && status == silent) {
        if (now - m_spoke > std::chrono::minutes(2))
            throw std::runtime_error("a connection has not come back after an outage");
        return true;
    }
    m_spoke = now;
    if (m_connected && status == usable)
        return true;
    m_work.lost += m_connected ? 1 : 0;
    _OpcUaClientConfig config = configFor(m_url);
    m_connected = m_client.OpcUaConnect(config) == 0 && prepare();
    return m_connected;
}

} // namespace soak
