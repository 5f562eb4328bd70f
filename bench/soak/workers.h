#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "soak/steady_client.h"

namespace soak {

/// A panel: reads and writes single values, elements and many values, and monitors nodes that come and go.
class PanelWorker final : public Worker {
public:
    PanelWorker(Gate& gate, Work& work, const std::string& url);

private:
    static constexpr std::size_t tagCount = 400;

    void round() override;
    bool subscribe();
    bool monitorAll();
    void useSingleValues();
    void useElements();
    void useManyValues();
    void changeItems();

    SteadyClient m_client;
    int m_rounds = 0;
    std::vector<OpcUaNode> m_tags;
    std::vector<std::array<char, 8>> m_values;
};

/// Browses the server from its root and a large folder, over and over.
class BrowsingWorker final : public Worker {
public:
    BrowsingWorker(Gate& gate, Work& work, const std::string& url)
        : Worker(gate, work), m_client(url, work) {}

private:
    void round() override;

    SteadyClient m_client;
};

/// Comes, looks around and goes, each time as another client: secured or not, by address or by name.
class VisitingWorker final : public Worker {
public:
    /// `unsteadyUrl` leads through the outages, the others past them.
    VisitingWorker(Gate& gate, Work& work, const std::string& unsteadyUrl, unsigned short port);

private:
    void round() override;
    _OpcUaClientConfig nextConfig() const;
    void look(COpcUaClientInterface& client);

    std::string m_unsteadyUrl;
    std::string m_url;
    std::string m_urlWithName;
    unsigned m_visits = 0;
};

} // namespace soak
