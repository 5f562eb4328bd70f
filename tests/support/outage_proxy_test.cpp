#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/outage_proxy.h"
#include "support/request_counter.h"

using test_support::Descriptor;
using test_support::OutageProxy;
using test_support::RequestCounter;
using testing::ElementsAre;
using testing::Pair;

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A client and a server with the proxy between them, in this process.
class OutageProxyTest : public testing::Test {
protected:
    OutageProxyTest() {
        sockaddr_in address = loopback(0);
        socklen_t length = sizeof address;
        bind(m_listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        listen(m_listener.get(), 1);
        getsockname(m_listener.get(), reinterpret_cast<sockaddr*>(&address), &length);
        proxy = std::make_unique<OutageProxy>(ntohs(address.sin_port));
        const std::string url = proxy->url();
        address = loopback(static_cast<std::uint16_t>(std::stoul(url.substr(url.rfind(':') + 1))));
        connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        server.reset(accept(m_listener.get(), nullptr, nullptr));
    }

    static void send(const Descriptor& to, const std::string& text) {
        ASSERT_EQ(::send(to.get(), text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }
    static std::string receive(const Descriptor& from, std::size_t count) {
        std::string text(count, '\0');
        text.resize(static_cast<std::size_t>(
            std::max<ssize_t>(recv(from.get(), text.data(), count, MSG_WAITALL), 0)));
        return text;
    }
    static bool hasSomething(const Descriptor& from) {
        pollfd entry{from.get(), POLLIN, 0};
        return poll(&entry, 1, 200) > 0;
    }
    /// Whether the other side's kernel has still to acknowledge something.
    static bool hasUnacknowledged(const Descriptor& sender) {
        tcp_info info{};
        socklen_t size = sizeof info;
        getsockopt(sender.get(), IPPROTO_TCP, TCP_INFO, &info, &size);
        return info.tcpi_unacked > 0;
    }

    std::unique_ptr<OutageProxy> proxy;
    Descriptor client{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    Descriptor server;

private:
    Descriptor m_listener{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

TEST_F(OutageProxyTest, PassesBytesBothWays) {
    send(client, "question");
    EXPECT_EQ(receive(server, 8), "question");
    send(server, "answer");
    EXPECT_EQ(receive(client, 6), "answer");
    EXPECT_EQ(proxy->connections(), 1);
}

class SilenceTest : public OutageProxyTest, public testing::WithParamInterface<OutageProxy::Silence> {};

TEST_P(SilenceTest, PassesNothingAndLosesNothing) {
    proxy->fallSilent(GetParam());
    EXPECT_TRUE(proxy->isSilent());
    send(client, "question");
    send(server, "answer");
    EXPECT_FALSE(hasSomething(server));
    EXPECT_FALSE(hasSomething(client));
    EXPECT_EQ(hasUnacknowledged(client), GetParam() == OutageProxy::Silence::Lost);
    proxy->speak();
    EXPECT_EQ(receive(server, 8), "question");
    EXPECT_EQ(receive(client, 6), "answer");
}

INSTANTIATE_TEST_SUITE_P(Kinds, SilenceTest,
                         testing::Values(OutageProxy::Silence::Held, OutageProxy::Silence::Lost),
                         [](const auto& kind) {
                             return kind.param == OutageProxy::Silence::Held ? "Held" : "Lost";
                         });

TEST_F(OutageProxyTest, HoldsUpWhoGoesOnSending) {
    proxy->fallSilent();
    const std::string much(64 * 1024 * 1024, 'x');
    const ssize_t sent = ::send(client.get(), much.data(), much.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, static_cast<ssize_t>(much.size()));
    proxy->speak();
    EXPECT_EQ(receive(server, static_cast<std::size_t>(sent)).size(), static_cast<std::size_t>(sent));
}

TEST_F(OutageProxyTest, FallsSilentInTheMiddle) {
    proxy->fallSilentAfter(5);
    send(server, "an answer");
    EXPECT_EQ(receive(client, 5), "an an");
    EXPECT_FALSE(hasSomething(client));
    proxy->speak();
    EXPECT_EQ(receive(client, 4), "swer");
}

TEST_F(OutageProxyTest, PassesTheEndOn) {
    send(client, "last");
    client.reset();
    EXPECT_EQ(receive(server, 4), "last");
    EXPECT_EQ(receive(server, 1), "");
}

std::string chunk(const char* kind, std::uint16_t type, std::uint32_t size) {
    std::string bytes(size, '\0');
    std::memcpy(&bytes[0], kind, 4);
    std::memcpy(&bytes[4], &size, sizeof size);
    std::memcpy(&bytes[26], &type, sizeof type);
    return bytes;
}

TEST(RequestCounterTest, CountsMessagesAndNotChunks) {
    const std::string stream = chunk("HELF", 1, 60) + chunk("MSGF", 631, 40) + chunk("MSGC", 673, 500) +
                               chunk("MSGC", 7, 500) + chunk("MSGF", 8, 28) + chunk("MSGF", 631, 70);
    for (const std::size_t piece : {std::size_t(1), std::size_t(27), stream.size()}) {
        RequestCounter counter;
        for (std::size_t at = 0; at < stream.size(); at += piece)
            counter.read(&stream[at], std::min(piece, stream.size() - at));
        EXPECT_THAT(counter.counts(), ElementsAre(Pair(631, 2), Pair(673, 1)));
    }
}

} // namespace
