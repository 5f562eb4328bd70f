#include "plant_link.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace window_panel {
namespace {

constexpr std::chrono::milliseconds lookAtConnection{100};
constexpr std::chrono::seconds lookForFailures{2};
constexpr std::chrono::seconds orderLifetime{2};

} // namespace

PlantLink::PlantLink(Access access, LatestValues& values, QObject* parent)
    : QObject(parent), m_access(std::move(access)),
      m_client(values, [this](const _OpcUaCertificateMsg& certificate) { return askTrust(certificate); }) {}

PlantLink::~PlantLink() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_question.close();
    m_work.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void PlantLink::start() {
    m_thread = std::thread([this] { run(); });
}

LinkState PlantLink::state() {
    const int status = m_client.status();
    const std::lock_guard<std::mutex> lock(m_mutex);
    LinkState state = m_told;
    state.kind = kindOf(m_phase, status);
    return state;
}

LinkState::Kind PlantLink::kindOf(Phase phase, int status) {
    using Kind = LinkState::Kind;
    switch (phase) {
    case Phase::Connecting:
        return Kind::Connecting;
    case Phase::GivenUp:
        return Kind::GivenUp;
    case Phase::Lost:
        return Kind::Lost;
    case Phase::Watching:
        break;
    }
    switch (status) {
    case OpcUaConnectStatus_Connected:
        return Kind::Connected;
    case OpcUaConnectStatus_ShuttingDown:
        return Kind::ShuttingDown;
    case OpcUaConnectStatus_Silent:
    case OpcUaConnectStatus_NotPublishing:
        return Kind::Silent;
    default:
        return Kind::Lost;
    }
}

void PlantLink::connectAgain() {
    give([this] {
        if (phase() == Phase::GivenUp)
            connect();
    });
}

void PlantLink::logIn(const std::string& user, const std::string& password) {
    give([this, user, password] { changeUser(user, password); });
}

void PlantLink::logOut() {
    give([this] { changeUser({}, {}); });
}

void PlantLink::write(Tag tag, double value) {
    give([this, tag, value, now = Clock::now()] { writeNow(tag, value, now); });
}

void PlantLink::give(Order order) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_orders.push_back(std::move(order));
    }
    m_work.notify_all();
}

void PlantLink::run() {
    while (awaitWork()) {
        serveOrders();
        keepConnected();
    }
    m_client.disconnect();
}

/// False when it is time to stop.
bool PlantLink::awaitWork() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_work.wait_for(lock, lookAtConnection, [this] { return m_stopping || !m_orders.empty(); });
    return !m_stopping;
}

void PlantLink::serveOrders() {
    std::deque<Order> orders;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        orders.swap(m_orders);
    }
    for (const Order& order : orders)
        order();
}

void PlantLink::keepConnected() {
    const Phase now = phase();
    if (now == Phase::GivenUp)
        return;
    if (now != Phase::Watching) {
        if (Clock::now() >= m_nextTry)
            connect();
        return;
    }
    const int status = m_client.status();
    if (status == OpcUaConnectStatus_Connected || status == OpcUaConnectStatus_ShuttingDown)
        lookAround();
    else if (status == OpcUaConnectStatus_NotPublishing)
        watchAgain();
    else if (status != OpcUaConnectStatus_Silent)
        enter(Phase::Lost);
}

void PlantLink::lookAround() {
    m_backoff.restart();
    m_nextTry = Clock::now();
    if (Clock::now() < m_nextLook)
        return;
    m_client.lookForFailures();
    m_nextLook = Clock::now() + lookForFailures;
}

void PlantLink::watchAgain() {
    if (Clock::now() < m_nextTry)
        return;
    m_client.watch();
    m_nextTry = Clock::now() + m_backoff.next();
}

/// Whoever was asked in vain is not asked again by itself.
void PlantLink::connect() {
    if (phase() != Phase::Lost)
        enter(Phase::Connecting);
    m_asked = false;
    const int result = m_client.connect(m_access);
    if (result == ResultDone) {
        enter(Phase::Watching);
    } else if (m_asked) {
        enter(Phase::GivenUp, result);
    } else {
        m_nextTry = Clock::now() + m_backoff.next();
        enter(Phase::Lost, result);
    }
}

void PlantLink::changeUser(const std::string& user, const std::string& password) {
    const Access before = m_access;
    m_access.user = user;
    m_access.password = password;
    enter(Phase::Connecting);
    connect();
    if (phase() == Phase::Watching || user.empty()) {
        emit loggedIn(QString::fromStdString(user));
        return;
    }
    const int result = state().result;
    m_access = before;
    connect();
    emit loginFailed(result);
}

void PlantLink::writeNow(Tag tag, double value, Clock::time_point given) {
    const bool inTime = Clock::now() - given < orderLifetime;
    const int result = inTime ? m_client.write(tag, value) : static_cast<int>(ResultNotConnected);
    emit written(tag, value, result);
}

void PlantLink::enter(Phase phase, int result) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_phase = phase;
    m_told.result = result;
    if (phase == Phase::Watching || m_access.user.empty())
        m_told.user = m_access.user;
}

PlantLink::Phase PlantLink::phase() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_phase;
}

OpcUaTrust PlantLink::askTrust(const _OpcUaCertificateMsg& certificate) {
    if (!certificate.thumbprint.empty() && certificate.thumbprint == m_trustedForNow)
        return OpcUaTrust_Once;
    m_asked = true;
    m_question.open();
    emit trustAsked(certificate);
    const OpcUaTrust answer = m_question.await();
    if (answer == OpcUaTrust_Once)
        m_trustedForNow = certificate.thumbprint;
    return answer;
}

} // namespace window_panel
