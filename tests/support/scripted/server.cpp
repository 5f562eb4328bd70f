#include "support/scripted/server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace scripted {
namespace {

constexpr std::chrono::seconds patience(30);
/// So that a server that stops reading is soon felt by who writes.
constexpr int receiveBuffer = 65536;
constexpr std::size_t freePiece = 65536;
constexpr int piecesPerSecond = 50;

int listenOnLoopback(std::string& url) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    if (listener < 0 || bind(listener, plain, size) != 0 || listen(listener, 64) != 0 ||
        getsockname(listener, plain, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "scripted server");
    }
    url = "opc.tcp://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    return listener;
}

} // namespace

Server::Server() : m_listener(listenOnLoopback(m_url)), m_usual(*this, m_publisher) {
    m_acceptor = std::thread([this] { acceptLoop(); });
}

Server::~Server() {
    m_stop = true;
    shutdown(m_listener, SHUT_RDWR);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_changed.notify_all();
    }
    m_acceptor.join();
    // No thread is started any more.
    for (const auto& connection : m_connections)
        connection->close();
    for (std::thread& thread : m_threads)
        thread.join();
    ::close(m_listener);
}

void Server::acceptLoop() {
    while (!m_stop) {
        const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0)
            start(socket);
    }
}

void Server::start(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const auto connection = std::make_shared<Connection>(*this, socket);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_connections.push_back(connection);
    m_threads.emplace_back([this, connection, script = m_onAccept] {
        if (script)
            script(*connection);
        connection->serve();
        const std::lock_guard<std::mutex> ended(m_mutex);
        m_changed.notify_all();
    });
    m_changed.notify_all();
}

void Server::onHello(std::function<void(Connection&)> script) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_onHello = std::move(script);
}

void Server::onAccept(std::function<void(Connection&)> script) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_onAccept = std::move(script);
}

void Server::announce(const TransportLimits& limits) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_limits = limits;
}

void Server::offer(const std::vector<Offer>& offers, const Identity& identity) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_offers = offers;
    m_identity = std::make_shared<Identity>(identity);
}

std::vector<Offer> Server::offers() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_offers;
}

std::shared_ptr<const Identity> Server::identity() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_identity;
}

TransportLimits Server::announcedLimits() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_limits;
}

void Server::behave() {
    readFreely();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_underTheRequestsToken = false;
    m_offers = {Offer()};
    m_identity = std::make_shared<Identity>();
    m_limits = TransportLimits();
    m_scripts.clear();
    m_edits.clear();
    m_onHello = nullptr;
    m_onAccept = nullptr;
}

void Server::readAtMost(std::size_t bytesPerSecond) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_throttled = true;
    m_bytesPerSecond = bytesPerSecond;
    m_changed.notify_all();
}

void Server::readFreely() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_throttled = false;
    m_changed.notify_all();
}

std::size_t Server::mayRead() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || !m_throttled || m_bytesPerSecond > 0; });
    if (m_stop || !m_throttled)
        return m_stop ? 0 : freePiece;
    const std::size_t piece = std::max<std::size_t>(m_bytesPerSecond / piecesPerSecond, 1);
    m_changed.wait_for(lock, std::chrono::milliseconds(1000 / piecesPerSecond),
                       [this] { return m_stop || !m_throttled; });
    return m_stop ? 0 : piece;
}

void Server::setScript(const UA_DataType* type, Scripted scripted) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts[type] = std::move(scripted);
}

Script Server::scriptFor(const UA_DataType* type) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const UA_DataType* key : {type, static_cast<const UA_DataType*>(nullptr)}) {
        const auto found = m_scripts.find(key);
        if (found != m_scripts.end() && found->second.script && found->second.left != 0) {
            found->second.left = std::max(found->second.left - 1, -1);
            return found->second.script;
        }
    }
    return nullptr;
}

void Server::setEdit(const UA_DataType* type, std::function<void(void*)> change) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_edits[type] = std::move(change);
}

void Server::applyEdit(const UA_DataType& type, void* response) const {
    std::function<void(void*)> change;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_edits.find(&type);
        if (found == m_edits.end())
            return;
        change = found->second;
    }
    change(response);
}

void Server::sayHello(Connection& connection) {
    std::function<void(Connection&)> script;
    TransportLimits announced;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        script = m_onHello;
        announced = m_limits;
    }
    if (script)
        script(connection);
    else
        connection.send(acknowledgeMessage(announced));
}

void Server::take(const Call& call, const Bytes& content) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_counts[&call.type()];
        m_last[&call.type()] = content;
        m_changed.notify_all();
    }
    if (const Script script = scriptFor(&call.type()))
        script(call);
    else
        call.answer();
}

void Server::answerAsUsual(const Call& call) {
    if (call.is<UA_PublishRequest>()) {
        if (m_publisher.isEmpty())
            call.fault(UA_STATUSCODE_BADNOSUBSCRIPTION);
        else
            m_publisher.take(call);
        return;
    }
    if (call.is<UA_CloseSecureChannelRequest>()) {
        call.connection().close();
        return;
    }
    if (call.is<UA_CloseSessionRequest>())
        m_publisher.end(UA_STATUSCODE_BADSESSIONCLOSED);
    call.answerBody(m_usual.bodyFor(call));
    if (call.is<UA_DeleteSubscriptionsRequest>() && m_publisher.isEmpty())
        m_publisher.end(UA_STATUSCODE_BADNOSUBSCRIPTION);
    m_publisher.flush();
}

Bytes Server::usualBody(const Call& call) {
    return m_usual.bodyFor(call);
}

void Server::report(const std::string& violation) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_violations.push_back(violation);
}

int Server::countLocked(const UA_DataType& type) const {
    const auto found = m_counts.find(&type);
    return found == m_counts.end() ? 0 : found->second;
}

int Server::countOf(const UA_DataType& type) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return countLocked(type);
}

Bytes Server::lastContent(const UA_DataType& type) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_last.find(&type);
    return found == m_last.end() ? Bytes() : found->second;
}

bool Server::waitFor(const std::function<bool()>& condition) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, patience, condition);
}

int Server::requests() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    int sum = 0;
    for (const auto& count : m_counts)
        sum += count.second;
    return sum;
}

int Server::connections() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_connections.size());
}

std::shared_ptr<Connection> Server::connection() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.back();
}

bool Server::waitForOpenConnections(int count) const {
    return waitFor([this, count] {
        return count == std::count_if(m_connections.begin(), m_connections.end(),
                                      [](const auto& connection) { return connection->isOpen(); });
    });
}

std::vector<std::string> Server::violations() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_violations;
}

void Server::forgetViolations() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_violations.clear();
}

} // namespace scripted
