#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "soak/worker.h"

namespace soak {

/// A client that stays connected as long as its connection lasts, and connects anew when that is gone.
class SteadyClient {
public:
    SteadyClient(std::string url, Work& work) : m_application(work), m_url(std::move(url)), m_work(work) {
        m_client.installOpcUaCallBack(&m_application);
    }

    /// Whether there is a connection now. `prepare` follows each connect; it tells whether it succeeded.
    /// Throws when the server has been silent for longer than any outage here.
    bool ensure(const std::function<bool()>& prepare);

    COpcUaClientInterface& operator*() { return m_client; }
    COpcUaClientInterface* operator->() { return &m_client; }

private:
    Application m_application;
    COpcUaClientInterface m_client;
    std::string m_url;
    Work& m_work;
    bool m_connected = false;
    std::chrono::steady_clock::time_point m_spoke; ///< when the server was last seen to be there
};

} // namespace soak
