#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/scripted/call.h"
#include "support/scripted/publisher.h"
#include "support/scripted/usual_answers.h"

namespace scripted {

/// How a server answers one kind of request.
using Script = std::function<void(const Call&)>;

/// A server on a free loopback port, on threads of its own, that is good until it is told otherwise: it
/// serves discovery, sessions without a user, Read (each Value is the Int32 42), Write, Browse (two
/// children), and subscriptions (see Publisher), without security. A case replaces any answer by any bytes.
///
///     scripted::Server server;
///     server.on<UA_ReadRequest>([](const Call& call) { call.answerBody(hex("07")); });
///     server.edit<UA_CreateSessionResponse>([](auto& response) { response.maxRequestMessageSize = 8192; });
class Server {
public:
    Server();
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& url() const { return m_url; }

    // What is answered.

    /// The endpoints that GetEndpoints and CreateSession tell, all with this certificate, whose key opens
    /// channels with each policy. Without it there is one endpoint without security and certificate.
    void offer(const std::vector<Offer>& offers, const Identity& identity);
    /// Uses the token under which a request came for its answer, too, as some servers do.
    void answerUnderTheRequestsToken(bool old) { m_underTheRequestsToken = old; }
    /// What ACK says from now on.
    void announce(const TransportLimits& limits);

    template <class Request>
    void on(Script script) {
        setScript(&typeOf<Request>(), {std::move(script), -1});
    }
    /// For the next requests of this kind; then all is as usual.
    template <class Request>
    void onNext(Script script, int times = 1) {
        setScript(&typeOf<Request>(), {std::move(script), times});
    }
    template <class Request>
    void asUsual() {
        setScript(&typeOf<Request>(), {});
    }
    void onType(const UA_DataType& request, Script script) { setScript(&request, {std::move(script), -1}); }
    /// For every request that has no script of its own, the secure channel's included.
    void onAnyOther(Script script) { setScript(nullptr, {std::move(script), -1}); }
    /// Changes each answer of this type that is not given as bytes.
    template <class Response>
    void edit(std::function<void(Response&)> change) {
        setEdit(&typeOf<Response>(), [change](void* response) { change(*static_cast<Response*>(response)); });
    }
    /// Instead of ACK.
    void onHello(std::function<void(Connection&)> script);
    /// When a client has connected, before it said anything.
    void onAccept(std::function<void(Connection&)> script);
    /// All is as usual again for what comes from now on.
    void behave();

    /// Reads no faster than this any more; 0: not at all.
    void readAtMost(std::size_t bytesPerSecond);
    void readFreely();

    Publisher& publisher() { return m_publisher; }

    // What came.

    template <class Request>
    int count() const {
        return countOf(typeOf<Request>());
    }
    template <class Request>
    bool waitForCount(int count) const {
        return waitFor([this, count] { return countLocked(typeOf<Request>()) >= count; });
    }
    /// The latest request of this kind; all zeros when there was none.
    template <class Request>
    Owned<Request> last() const {
        Owned<Request> request;
        decode(lastContent(typeOf<Request>()), &*request, typeOf<Request>());
        return request;
    }
    /// As it came, without its type.
    Bytes lastContent(const UA_DataType& type) const;
    /// Requests of all kinds.
    int requests() const;
    int connections() const;
    /// The one that was accepted last, which must exist.
    std::shared_ptr<Connection> connection() const;
    bool waitForOpenConnections(int count) const;
    /// What was wrong with the client's chunks: sizes, numbers, order.
    std::vector<std::string> violations() const;
    void forgetViolations();

    // What connections and calls report and ask.

    void take(const Call& call, const Bytes& content);
    void report(const std::string& violation);
    void sayHello(Connection& connection);
    TransportLimits announcedLimits() const;
    std::vector<Offer> offers() const;
    std::shared_ptr<const Identity> identity() const;
    bool answersUnderTheRequestsToken() const { return m_underTheRequestsToken; }
    void applyEdit(const UA_DataType& type, void* response) const;
    void answerAsUsual(const Call& call);
    Bytes usualBody(const Call& call);
    /// How many bytes may be read now. Waits until some may; 0 when the server ends.
    std::size_t mayRead();

private:
    struct Scripted {
        Script script;
        int left = 0;
    };

    void acceptLoop();
    void start(int socket);
    void setScript(const UA_DataType* type, Scripted scripted);
    Script scriptFor(const UA_DataType* type);
    void setEdit(const UA_DataType* type, std::function<void(void*)> change);
    int countOf(const UA_DataType& type) const;
    int countLocked(const UA_DataType& type) const;

    bool waitFor(const std::function<bool()>& condition) const;

    std::string m_url;
    int m_listener;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_underTheRequestsToken{false};
    Publisher m_publisher;
    UsualAnswers m_usual;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::map<const UA_DataType*, Scripted> m_scripts;
    std::map<const UA_DataType*, std::function<void(void*)>> m_edits;
    TransportLimits m_limits;
    std::vector<Offer> m_offers{Offer()};
    std::shared_ptr<const Identity> m_identity = std::make_shared<Identity>();
    std::function<void(Connection&)> m_onHello;
    std::function<void(Connection&)> m_onAccept;
    std::size_t m_bytesPerSecond = 0;
    bool m_throttled = false;
    std::map<const UA_DataType*, int> m_counts;
    std::map<const UA_DataType*, Bytes> m_last;
    std::vector<std::string> m_violations;
    std::vector<std::shared_ptr<Connection>> m_connections;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};

} // namespace scripted
