#pragma once

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include <gmock/gmock.h>

#include "client_fixture.h"
#include "panel.h"
#include "support/outage_proxy.h"

/// What a client must not do twice for one connection.
struct Beginnings {
    int connections;
    int sessions;
    int activations;
    int subscriptions;
    int itemCalls;

    bool operator==(const Beginnings& other) const;
};
std::ostream& operator<<(std::ostream& stream, const Beginnings& beginnings);

/// A plant server, the network before it, and a client (ClientTest's) that reaches it past that network.
class OutageTest : public ClientTest {
protected:
    using Clock = std::chrono::steady_clock;
    using Silence = test_support::OutageProxy::Silence;

    static constexpr char counter[] = "ns=3;s=TestRack.Moving.Counter";

    /// Starts the server with so many tags.
    void startPlant(int tags = 0);
    test_support::OutageProxy& network() { return *m_network; }
    Beginnings beginnings() const;

    static std::vector<std::string> tagIds(int count);
    /// Changes every tag, past the network, and tells the new numbers.
    std::unordered_map<std::string, double> changeTags(int count);
    /// What the counter has reached, asked past the network.
    double counterNow();

    /// The panel's connection is whole: status, calls and data agree, and nothing was begun anew.
    void expectWhole(Panel& panel);

private:
    std::unique_ptr<test_support::OutageProxy> m_network;
};
