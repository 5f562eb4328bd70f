// A host name with two addresses, of which one is of no use, or slow.
#include <chrono>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "hostile/hostile_fixture.h"
#include "integration/trace_file.h"
#include "support/own_resolver.h"

using namespace scripted;

namespace {

const std::string host = "plant.test";
const std::string ofTheServer = "127.0.0.1";
const std::string other = "127.0.0.2";

std::string portOf(const std::string& url) {
    return url.substr(url.rfind(':') + 1);
}

/// Listens at the other address on the server's port, and never says a word.
class SilentListener {
public:
    explicit SilentListener(const std::string& port) : m_listener(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener, 8), 0);
    }
    ~SilentListener() { ::close(m_listener); }
    SilentListener(const SilentListener&) = delete;
    SilentListener& operator=(const SilentListener&) = delete;

    /// Whether a client waits at the door.
    bool wasAsked() const {
        pollfd entry{m_listener, POLLIN, 0};
        return ::poll(&entry, 1, 0) > 0;
    }

protected:
    int m_listener;
};

/// Hangs up on everybody.
class ClosingListener : public SilentListener {
public:
    explicit ClosingListener(const std::string& port)
        : SilentListener(port), m_thread([this] { hangUp(); }) {}
    ~ClosingListener() {
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
    }

private:
    void hangUp() const {
        for (int client = 0; (client = ::accept(m_listener, nullptr, nullptr)) >= 0;)
            ::close(client);
    }

    std::thread m_thread;
};

class TwoAddresses : public HostileTest {
protected:
    ~TwoAddresses() override { test_support::setResolver(nullptr); }

    static void resolveTo(const std::vector<std::string>& both) {
        test_support::setResolver([both](const std::string& name, std::vector<std::string>& addresses) {
            EXPECT_EQ(name, host);
            addresses = both;
            return 0;
        });
    }
    int connectByName(int timeout) {
        _OpcUaClientConfig config{};
        setField(config.endpointUrl, url());
        config.timeout = timeout;
        return client.OpcUaConnect(config);
    }
    std::string port() const { return portOf(server.url()); }
    std::string url() const { return "opc.tcp://" + host + ":" + port(); }
};

TEST_F(TwoAddresses, LeaveAServerThatHasAnsweredAllTheTime) {
    resolveTo({ofTheServer, other});
    server.onNext<UA_OpenSecureChannelRequest>([](const Call& call) {
        std::this_thread::sleep_for(std::chrono::milliseconds(3500)); // more than its share
        call.answer();
    });
    EXPECT_EQ(connectByName(6000), 0);
}

TEST_F(TwoAddresses, OfWhichOneIsSilentLeadToTheOther) {
    resolveTo({other, ofTheServer});
    const SilentListener mute(port());
    EXPECT_EQ(connectByName(4000), 0);
    EXPECT_TRUE(mute.wasAsked());
}

TEST_F(TwoAddresses, OfWhichOneHangsUpLeadToTheOther) {
    resolveTo({other, ofTheServer});
    const ClosingListener closing(port());
    EXPECT_EQ(connectByName(10000), 0);
}

TEST_F(TwoAddresses, AreNotBothTriedWhereAServerRefuses) {
    resolveTo({ofTheServer, other});
    const SilentListener mute(port());
    server.onHello([](Connection& connection) {
        connection.send(errorMessage(UA_STATUSCODE_BADTCPSERVERTOOBUSY, "come back at noon"));
        connection.close();
    });
    EXPECT_EQ(connectByName(10000), connectFailed);
    EXPECT_FALSE(mute.wasAsked());
}

TEST_F(TwoAddresses, FailAsTheOneThatTookTheConnection) {
    resolveTo({other, "127.0.0.3"});
    const ClosingListener closing(port());
    client.OpcUaInit(OpcUaTraceLevel_Errors);
    const TraceFile trace;
    EXPECT_EQ(connectByName(10000), connectFailed);
    EXPECT_EQ(trace.linesWith("at address 127.0.0.3: BadConnectionRejected"), 1);
    EXPECT_EQ(trace.linesWith("refused by the server " + url() +
                              " while opening the secure channel: BadConnectionClosed"),
              1);
}

} // namespace
