// A server that hangs up on a client that has only begun to speak: it is the server that has refused.
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "hostile/hostile_fixture.h"
#include "integration/trace_file.h"

using namespace scripted;

namespace {

/// Says this to the first client, once that has said anything, and resets the connection.
class ResettingServer {
public:
    explicit ResettingServer(const Bytes& answer) : m_listener(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
        EXPECT_EQ(::listen(m_listener, 1), 0);
        m_url = "opc.tcp://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        m_thread = std::thread([this, answer] { serve(answer); });
    }
    ~ResettingServer() {
        m_thread.join();
        ::close(m_listener);
    }
    ResettingServer(const ResettingServer&) = delete;
    ResettingServer& operator=(const ResettingServer&) = delete;

    const std::string& url() const { return m_url; }

private:
    void serve(const Bytes& answer) const {
        const int client = ::accept(m_listener, nullptr, nullptr);
        char hello[512];
        EXPECT_GT(::recv(client, hello, sizeof hello, 0), 0);
        const linger reset{1, 0};
        ::setsockopt(client, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        ::send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        ::close(client);
    }

    int m_listener;
    std::string m_url;
    std::thread m_thread;
};

class HangingUp : public HostileTest {
protected:
    /// What the trace tells of the attempt to connect to a server that says this before it goes.
    void expectRefusedByServer(const Bytes& answer, const std::string& reason) {
        for (int i = 0; i < 20; ++i) {
            const ResettingServer resetting(answer);
            client.OpcUaInit(OpcUaTraceLevel_Errors);
            const TraceFile trace;
            _OpcUaClientConfig config{};
            config.timeout = 10000;
            setField(config.endpointUrl, resetting.url());
            EXPECT_EQ(client.OpcUaConnect(config), connectFailed);
            EXPECT_EQ(trace.linesWith("refused by the server " + resetting.url()), 1);
            EXPECT_EQ(trace.linesWith("refused by this client"), 0);
            EXPECT_GE(trace.linesWith(reason), 1);
        }
    }
    const Bytes acknowledge = acknowledgeMessage(TransportLimits());
    const Bytes error = errorMessage(UA_STATUSCODE_BADTCPSERVERTOOBUSY, "come back at noon");
};

TEST_F(HangingUp, BehindTheGreetingIsToldAsTheServers) {
    expectRefusedByServer(acknowledge, "BadConnectionClosed");
}

TEST_F(HangingUp, WithAReasonIsToldWithIt) {
    expectRefusedByServer(acknowledge + error, "come back at noon");
}

TEST_F(HangingUp, InsteadOfAGreetingIsToldAsTheServers) {
    expectRefusedByServer(error, "come back at noon");
}

TEST_F(HangingUp, ForATimeOutOfItsOwnIsToldAsTheServers) {
    expectRefusedByServer(errorMessage(UA_STATUSCODE_BADTIMEOUT, "my database sleeps"), "BadTimeout");
}

/// Says that something took it too long: it has answered.
class TimedOutServer : public HostileTest {
protected:
    void expectRefusedByServer(const std::string& step) {
        client.OpcUaInit(OpcUaTraceLevel_Errors);
        const TraceFile trace;
        EXPECT_EQ(connect(), connectFailed);
        EXPECT_EQ(
            trace.linesWith("refused by the server " + server.url() + " while " + step + ": BadTimeout"), 1);
        EXPECT_EQ(trace.linesWith("no answer in time"), 0);
    }
    const Script fault = [](const Call& call) { call.fault(UA_STATUSCODE_BADTIMEOUT); };
};

TEST_F(TimedOutServer, ThatOpensNoChannelHasRefused) {
    server.on<UA_OpenSecureChannelRequest>(fault);
    expectRefusedByServer("opening the secure channel");
}

TEST_F(TimedOutServer, WhoseAnswerOpensNoChannelHasRefused) {
    server.edit<UA_OpenSecureChannelResponse>([](UA_OpenSecureChannelResponse& response) {
        response.responseHeader.serviceResult = UA_STATUSCODE_BADTIMEOUT;
    });
    expectRefusedByServer("opening the secure channel");
}

TEST_F(TimedOutServer, ThatCreatesNoSessionHasRefused) {
    server.on<UA_CreateSessionRequest>(fault);
    expectRefusedByServer("creating the session");
}

TEST_F(TimedOutServer, ThatEndsTheConnectionInsteadHasRefused) {
    server.on<UA_ActivateSessionRequest>([](const Call& call) {
        call.connection().send(errorMessage(UA_STATUSCODE_BADTIMEOUT, "my database sleeps"));
    });
    expectRefusedByServer("activating the session for its user");
}

TEST_F(TimedOutServer, IsNoneThatSaysNothing) {
    server.on<UA_CreateSessionRequest>([](const Call&) {});
    client.OpcUaInit(OpcUaTraceLevel_Errors);
    const TraceFile trace;
    EXPECT_EQ(connect(500), connectFailed);
    EXPECT_EQ(trace.linesWith("no answer in time from the server " + server.url()), 1);
}

} // namespace
