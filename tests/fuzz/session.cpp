// A session on a channel without security, from its creation on, with calls and a subscription: the first
// byte says how often a value is read, the rest says record by record what the server answers (in the order
// of SessionServer's table).

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "calls/service_call.h"
#include "channel_peer.h"
#include "encoding/type_id.h"
#include "encoding/wire.h"
#include "fed_socket.h"
#include "fixed_nonces.h"
#include "fuzz_target.h"
#include "input.h"
#include "session/session_opening.h"
#include "subscription/publisher.h"
#include "support/allocation_counter.h"
#include "waiting_tasks.h"

using namespace UaClientSdk;

namespace {

constexpr std::size_t mostFed = std::size_t{1} << 20;
constexpr std::uint32_t anHour = 3600000;
constexpr std::uint32_t subscription = 1;

template <typename Type>
Bytes encoded(const Type& message, const UA_DataType& type) {
    Bytes body(typeIdLength + UA_calcSizeBinary(&message, &type));
    writeTypeId(body.data(), type);
    UA_ByteString rest{body.size() - typeIdLength, body.data() + typeIdLength};
    require(UA_encodeBinary(&message, &type, &rest) == UA_STATUSCODE_GOOD, "an answer can be encoded");
    return body;
}

template <typename Request>
Bytes answerTo(const typename Service<Request>::Response& response) {
    return encoded(response, Service<Request>::responseType());
}

template <typename Request>
bool asksFor(std::uint32_t typeId) {
    return isTypeId(typeId, Service<Request>::requestType());
}

/// The other end: notes what is asked for, and answers as the input says.
class SessionServer {
public:
    explicit SessionServer(Input input) : m_peer(withoutSecurity()), m_input(input) {}

    /// For whoever waits.
    void answer();
    std::size_t fed() const { return m_fed; }
    std::size_t waiting() const { return m_requests.size(); }

private:
    struct Request {
        std::uint32_t id;
        std::uint32_t typeId;
    };
    using Record = void (SessionServer::*)();
    static const Record records[];

    static const ChannelSides& withoutSecurity() {
        static const ChannelSides sides(nullptr, OpcUa_MessageSecurityMode_None);
        return sides;
    }

    void noteRequests() {
        const Bytes sent = FedSocket::instance().takeSent();
        for (std::size_t at = 0; at < sent.size(); at += readUInt32(sent.data() + at + 4)) {
            if (sent[at] == 'H') {
                send(ChannelPeer::acknowledge());
            } else if (sent[at] == 'O') {
                open();
            } else if (sent[at] == 'M') {
                const std::size_t body = at + symmetricHeaderLength + sequenceHeaderLength;
                UaByteView view(sent.data() + body, sent.size() - body);
                m_requests.push_back({readUInt32(sent.data() + body - 4), readTypeId(view)});
            }
        }
    }
    void send(const Bytes& chunk) {
        m_fed += chunk.size();
        FedSocket::instance().arrive(viewOf(chunk));
    }
    void open() {
        UA_OpenSecureChannelResponse response{};
        response.securityToken.channelId = 1;
        response.securityToken.revisedLifetime = anHour;
        const Bytes body = encoded(response, UA_TYPES[UA_TYPES_OPENSECURECHANNELRESPONSE]);
        send(m_peer.open({1, ++m_sequenceNumber, 1}, viewOf(body)));
    }
    void sendMessage(char position, std::uint32_t requestId, const Bytes& body) {
        send(m_peer.message(position, m_token, {1, ++m_sequenceNumber, requestId}, viewOf(body)));
    }
    /// The oldest that is not answered yet; with the upper bit set, the newest.
    Request takeRequest() {
        if (m_requests.empty())
            return {0, 0};
        const auto place = m_what < 128 ? m_requests.begin() : m_requests.end() - 1;
        const Request request = *place;
        m_requests.erase(place);
        return request;
    }

    // What an input may ask for.

    /// As it should be.
    void sendGoodAnswer() {
        const Request request = takeRequest();
        if (request.id != 0)
            sendMessage('F', request.id, goodAnswer(request.typeId));
    }
    /// Of the type that was asked for, with any bytes.
    void sendAnswerBytes() {
        const Request request = takeRequest();
        const UaByteView content = m_input.bytes(m_input.number<std::uint16_t>());
        Bytes body = goodAnswer(request.typeId);
        body.resize(typeIdLength);
        body.insert(body.end(), content.data, content.data + content.size);
        if (request.id != 0)
            sendMessage('F', request.id, body);
    }
    /// A body, its type included, for a request id.
    void sendBody() {
        const std::uint32_t requestId = m_input.number<std::uint8_t>();
        const UaByteView body = m_input.bytes(m_input.number<std::uint16_t>());
        sendMessage('F', requestId, Bytes(body.data, body.data + body.size));
    }
    void sendFault() {
        constexpr UA_StatusCode reasons[] = {UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS,
                                             UA_STATUSCODE_BADNOSUBSCRIPTION,
                                             UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID,
                                             UA_STATUSCODE_BADSESSIONIDINVALID,
                                             UA_STATUSCODE_BADTIMEOUT,
                                             UA_STATUSCODE_BADMESSAGENOTAVAILABLE,
                                             UA_STATUSCODE_BADSHUTDOWN,
                                             UA_STATUSCODE_GOOD};
        const Request request = takeRequest();
        UA_ServiceFault fault{};
        fault.responseHeader.serviceResult = reasons[m_input.number<std::uint8_t>() % std::size(reasons)];
        if (request.id != 0)
            sendMessage('F', request.id, encoded(fault, UA_TYPES[UA_TYPES_SERVICEFAULT]));
    }
    void breakOff() {
        const Request request = takeRequest();
        if (request.id != 0)
            sendMessage('A', request.id, Bytes(8, 0x80));
    }
    void sendRaw() {
        const UaByteView bytes = m_input.bytes(m_input.number<std::uint16_t>());
        send(Bytes(bytes.data, bytes.data + bytes.size));
    }
    /// By how much the next sequence number differs from the last, for the messages that follow.
    void skip() {
        const std::uint32_t by = m_input.number<std::uint8_t>();
        m_messageNumber += by < 128 ? by : by - 256;
    }

    Bytes goodAnswer(std::uint32_t typeId) {
        if (asksFor<UA_CreateSessionRequest>(typeId))
            return createdSession();
        if (asksFor<UA_PublishRequest>(typeId))
            return published();
        if (asksFor<UA_RepublishRequest>(typeId))
            return republished();
        if (asksFor<UA_ReadRequest>(typeId)) {
            UA_DataValue value{};
            UA_ReadResponse response{};
            response.results = &value;
            response.resultsSize = 1;
            return answerTo<UA_ReadRequest>(response);
        }
        return answerTo<UA_ActivateSessionRequest>(UA_ActivateSessionResponse{});
    }
    static Bytes createdSession() {
        UA_CreateSessionResponse response{};
        response.sessionId = UA_NODEID_NUMERIC(1, 1);
        response.authenticationToken = UA_NODEID_NUMERIC(1, 2);
        response.revisedSessionTimeout = anHour;
        return answerTo<UA_CreateSessionRequest>(response);
    }
    Bytes published() {
        UA_PublishResponse response{};
        response.subscriptionId = subscription + (m_what & 64U);
        const Notifications notifications(m_input);
        notifications.fill(response.notificationMessage, m_messageNumber);
        m_messageNumber += notifications.isKeepAlive() ? 0 : 1;
        return answerTo<UA_PublishRequest>(response);
    }
    Bytes republished() {
        UA_RepublishResponse response{};
        const Notifications notifications(m_input);
        notifications.fill(response.notificationMessage,
                           m_messageNumber - m_input.number<std::uint8_t>() - 1);
        return answerTo<UA_RepublishRequest>(response);
    }

    /// How many changes there are, of how many items; beyond 200: the end of the subscription.
    class Notifications {
    public:
        explicit Notifications(Input& input) : m_count(input.number<std::uint8_t>()), m_items(m_count % 32) {
            for (std::size_t i = 0; i < m_items.size(); ++i) {
                m_items[i].clientHandle = static_cast<UA_UInt32>(i % 5);
                UA_Variant_setScalar(&m_items[i].value.value, &m_value, &UA_TYPES[UA_TYPES_UINT32]);
                m_items[i].value.hasValue = true;
            }
            m_change.monitoredItems = m_items.data();
            m_change.monitoredItemsSize = m_items.size();
            m_end.status = UA_STATUSCODE_BADTIMEOUT;
            const bool isEnd = m_count > 200;
            m_data.encoding = UA_EXTENSIONOBJECT_DECODED_NODELETE;
            m_data.content.decoded.type =
                &UA_TYPES[isEnd ? UA_TYPES_STATUSCHANGENOTIFICATION : UA_TYPES_DATACHANGENOTIFICATION];
            m_data.content.decoded.data = isEnd ? static_cast<void*>(&m_end) : &m_change;
        }
        Notifications(const Notifications&) = delete;
        Notifications& operator=(const Notifications&) = delete;

        bool isKeepAlive() const { return m_count == 0; }
        void fill(UA_NotificationMessage& message, std::uint32_t number) const {
            message.sequenceNumber = number;
            message.notificationDataSize = isKeepAlive() ? 0 : 1;
            message.notificationData = const_cast<UA_ExtensionObject*>(&m_data);
        }

    private:
        const unsigned int m_count;
        UA_UInt32 m_value = 42;
        std::vector<UA_MonitoredItemNotification> m_items;
        UA_DataChangeNotification m_change{};
        UA_StatusChangeNotification m_end{};
        UA_ExtensionObject m_data{};
    };

    const ChannelPeer m_peer;
    ChannelPeer::Token m_token;
    Input m_input;
    std::vector<Request> m_requests;
    std::uint32_t m_sequenceNumber = 0;
    std::uint32_t m_messageNumber = 1;
    std::size_t m_fed = 0;
    unsigned int m_what = 0;
};

const SessionServer::Record SessionServer::records[] = {
    &SessionServer::sendGoodAnswer, &SessionServer::sendAnswerBytes, &SessionServer::sendBody,
    &SessionServer::sendFault,      &SessionServer::breakOff,        &SessionServer::sendRaw,
    &SessionServer::skip,
};

void SessionServer::answer() {
    noteRequests();
    while (!FedSocket::instance().hasArrived() && !m_input.isEmpty() && m_fed < mostFed) {
        m_what = m_input.number<std::uint8_t>();
        (this->*records[m_what % std::size(records)])();
    }
}

/// The application: looks at what it gets.
class Receiver : public UaSubscriptionCallback, public PublishListener, public ConnectionListener {
public:
    void dataChange(unsigned int, const UaMonitoredItemNotifications& notifications,
                    const UaDiagnosticInfos&) override {
        for (OpcUa_UInt32 i = 0; i < notifications.length(); ++i)
            notifications[i].value.toString();
    }
    void subscriptionStatusChanged(unsigned int, const UaStatus& status) override {
        require(status.isBad() && ++m_ends == 1, "a subscription ends once, and for a reason");
    }
    void dataFlows(bool) override {}
    void publishDue() override {}
    void sessionGone(UaStatus reason) override {
        require(isSessionGone(reason), "a session is gone when the server says so");
    }
    void serverSpoke() override {}
    void connectionEnded(UaStatus reason, std::size_t waiting) override {
        require(reason.isBad() && ++m_losses == 1, "a connection ends once, and for a reason");
        require(waiting == 0, "no series is under way here");
    }

private:
    int m_ends = 0;
    int m_losses = 0;
};

void readValue(Pipe& pipe) {
    UA_ReadValueId node{};
    UA_ReadRequest request{};
    request.nodesToRead = &node;
    request.nodesToReadSize = 1;
    Answer<UA_ReadRequest> answer;
    const UaStatus status = callService(pipe, Deadline(anHour), request, answer, 1);
    require(status.isBad() || answer.resultsSize == 1, "a good answer has as many results as asked for");
}

void useSession(Pipe& pipe, const UaNodeId& token, const SessionServer& server, unsigned int reads) {
    Receiver receiver;
    UaStatus status;
    const auto deliveryThread = CallbackThread::start(status);
    const auto publisher = std::make_shared<Publisher>(receiver, token);
    pipe.setListener(&receiver);
    publisher->add(subscription, {std::make_shared<NotificationQueue>(&receiver, 1U), deliveryThread.get(),
                                  std::chrono::milliseconds(anHour)});
    for (std::size_t round = 1; !pipe.isEnded(); ++round) {
        const std::size_t before = server.fed();
        publisher->keepHouse(pipe, false);
        if (reads != 0 && round % reads == 0)
            readValue(pipe);
        pipe.readArrived();
        require(server.waiting() <= 10 + 2000, "no more is asked for than there is");
        runWaitingTasks();
        if (server.fed() == before)
            break;
    }
    publisher->close();
    pipe.close(UA_STATUSCODE_BADCONNECTIONCLOSED);
    pipe.setListener(nullptr);
    dropWaitingTasks();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    startNonces();
    Input input(data, size);
    const unsigned int reads = input.number<std::uint8_t>() % 8;
    SessionServer server(input);
    FedSocket::instance().reset(0, [&server] { server.answer(); });
    const std::size_t memory = test_support::bytesAllocatedDuring([&] {
        SessionSecurityInfo info;
        const UaString url("opc.tcp://plant");
        SessionSecurity security(info, url);
        OpenSession session;
        ConnectFailure failure{};
        if (openSession(url, SessionConnectInfo(), security, Deadline(anHour), session, failure).isGood())
            useSession(*session.pipe, session.authenticationToken, server, reads);
    });
    // With all that the server's side takes, which encodes and copies each answer a few times.
    require(memory <= 20 * server.fed() + (std::size_t{16} << 20), "memory is bounded");
    return 0;
}
