#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "link/access.h"
#include "link/backoff.h"
#include "link/link_state.h"
#include "link/plant_client.h"
#include "link/trust_question.h"
#include "plant/latest_values.h"
#include "plant/tags.h"

namespace window_panel {

/// The window's end of the connection. The library's calls wait for the server, so they are made on a thread
/// of their own, which also connects again by itself; what is asked for here returns at once, and signals
/// tell what came of it. Values go to `values`.
class PlantLink : public QObject {
    Q_OBJECT

public:
    PlantLink(Access access, LatestValues& values, QObject* parent = nullptr);
    /// Disconnects. Takes as long as a call that is under way, at most: as PlantClient says.
    ~PlantLink() override;

    /// Connects for the first time. Once the signals have somebody who listens: a question that nobody hears
    /// waits for good.
    void start();

    /// Never waits: fit to be asked with each frame.
    LinkState state();

    /// After GivenUp.
    void connectAgain();
    /// Connects anew as this user. When that fails the one before is connected again.
    void logIn(const std::string& user, const std::string& password);
    void logOut();
    /// Writes now or never: an order that could not be carried out at once is not carried out later.
    void write(Tag tag, double value);
    /// Answers trustAsked().
    void answerTrust(OpcUaTrust answer) { m_question.answer(answer); }

signals:
    void trustAsked(const _OpcUaCertificateMsg& certificate);
    void loggedIn(const QString& user);
    void loginFailed(int result);
    void written(Tag tag, double value, int result);

private:
    using Clock = std::chrono::steady_clock;
    using Order = std::function<void()>;
    enum class Phase { Connecting, Watching, Lost, GivenUp };

    void run();
    bool awaitWork();
    void serveOrders();
    void give(Order order);
    void keepConnected();
    void lookAround();
    void watchAgain();
    void connect();
    void changeUser(const std::string& user, const std::string& password);
    void writeNow(Tag tag, double value, Clock::time_point given);
    static LinkState::Kind kindOf(Phase phase, int status);
    void enter(Phase phase, int result = 0);
    Phase phase();
    OpcUaTrust askTrust(const _OpcUaCertificateMsg& certificate);

    Access m_access;
    TrustQuestion m_question;
    PlantClient m_client;

    std::mutex m_mutex; ///< guards these five
    std::condition_variable m_work;
    std::deque<Order> m_orders;
    bool m_stopping = false;
    Phase m_phase = Phase::Connecting;
    LinkState m_told;

    // The thread's own.
    Backoff m_backoff;
    Clock::time_point m_nextTry{};
    Clock::time_point m_nextLook{};
    bool m_asked = false;        ///< somebody was asked during this connect
    std::string m_trustedForNow; ///< thumbprint of a certificate accepted until the panel ends

    std::thread m_thread;
};

} // namespace window_panel
