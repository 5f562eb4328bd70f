#include "main_window.h"

#include <QGridLayout>
#include <QTimer>
#include <chrono>

#include "OpcUaHelpers.h"
#include "plant/shown_text.h"
#include "widgets/banner.h"
#include "widgets/login_sheet.h"
#include "widgets/mimic.h"
#include "widgets/operate_card.h"
#include "widgets/title_bar.h"
#include "widgets/trend_card.h"
#include "widgets/trust_sheet.h"
#include "widgets/write_sheet.h"

namespace window_panel {
namespace {

constexpr std::chrono::milliseconds frame{50};

QString eventOf(LinkState::Kind kind) {
    switch (kind) {
    case LinkState::Kind::Connected:
        return QStringLiteral("Connected");
    case LinkState::Kind::ShuttingDown:
        return QStringLiteral("The server is about to stop");
    case LinkState::Kind::Silent:
        return QStringLiteral("The server is silent");
    case LinkState::Kind::Connecting:
    case LinkState::Kind::Lost:
    case LinkState::Kind::GivenUp:
        break;
    }
    return QStringLiteral("No connection");
}

QString reasonOf(int result) {
    return QString::fromUtf8(OpcUaResultText(result));
}

} // namespace

MainWindow::MainWindow(const Access& access)
    : m_url(shownText(access.url)), m_title(new TitleBar(access, this)), m_banner(new Banner(this)),
      m_mimic(new Mimic(m_picture, this)), m_trend(new TrendCard(m_history, m_picture, this)),
      m_operate(new OperateCard(m_picture, this)), m_link(access, m_latest) {
    setWindowTitle(QStringLiteral("Dairy"));
    resize(1280, 860);
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(12, 10, 12, 12);
    layout->setSpacing(10);
    layout->addWidget(m_title, 0, 0, 1, 2);
    layout->addWidget(m_banner, 1, 0, 1, 2);
    layout->addWidget(m_mimic, 2, 0, 1, 2);
    layout->addWidget(m_trend, 3, 0);
    layout->addWidget(m_operate, 3, 1);
    layout->setRowStretch(2, 3);
    layout->setRowStretch(3, 2);
    connectParts();
    m_link.start();
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MainWindow::refresh);
    timer->start(frame);
}

void MainWindow::connectParts() {
    connect(&m_link, &PlantLink::trustAsked, this, &MainWindow::askTrust);
    connect(&m_link, &PlantLink::written, this, &MainWindow::tellWritten);
    connect(&m_link, &PlantLink::loggedIn, this, [this](const QString& user) {
        if (m_login)
            m_login->succeed();
        m_operate->tell(user.isEmpty() ? QStringLiteral("Logged out")
                                       : QStringLiteral("%1 logged in").arg(shownText(user.toStdString())));
    });
    connect(&m_link, &PlantLink::loginFailed, this, [this](int result) {
        if (m_login)
            m_login->fail(result);
        m_operate->tell(QStringLiteral("Login failed"));
    });
    connect(m_title, &TitleBar::logInAsked, this, &MainWindow::askLogin);
    connect(m_title, &TitleBar::logOutAsked, &m_link, &PlantLink::logOut);
    connect(m_banner, &Banner::connectAsked, &m_link, &PlantLink::connectAgain);
    connect(m_operate, &OperateCard::writeAsked, this, &MainWindow::askWrite);
}

void MainWindow::refresh() {
    takeChanges();
    takeState(m_link.state());
    const bool isLoggedIn = !m_state.user.empty();
    m_title->refresh(m_state);
    m_banner->refresh(m_state, m_picture);
    m_operate->refresh(isLoggedIn);
    if (m_write != nullptr)
        m_write->refresh(isLoggedIn && m_picture.isCurrent());
    m_mimic->refresh();
    m_trend->refresh();
}

void MainWindow::takeChanges() {
    const TrendHistory::Clock::time_point now = TrendHistory::Clock::now();
    for (const Change& change : m_latest.take()) {
        m_picture.apply(change);
        m_lastHeard = now;
        if (change.value)
            m_history.add(change.tag, now, change.value->number);
    }
}

void MainWindow::takeState(const LinkState& state) {
    if (state.isCurrent() != m_state.isCurrent())
        markTrend(state.isCurrent());
    if (state.kind != m_state.kind && state.kind != LinkState::Kind::Connecting)
        m_operate->tell(eventOf(state.kind));
    m_state = state;
    m_picture.setCurrent(state.isCurrent());
}

/// Where nothing is heard of the plant the trend has a gap; behind it what is known holds again.
void MainWindow::markTrend(bool isCurrent) {
    if (!isCurrent) {
        m_history.interrupt(m_lastHeard);
        return;
    }
    const TrendHistory::Clock::time_point now = TrendHistory::Clock::now();
    for (const Tag tag : TrendHistory::tags)
        if (m_picture.isKnown(tag))
            m_history.add(tag, now, m_picture.number(tag));
}

void MainWindow::askTrust(const _OpcUaCertificateMsg& certificate) {
    auto* sheet = new TrustSheet(certificate, m_url, this);
    connect(sheet, &TrustSheet::answered, &m_link, &PlantLink::answerTrust);
}

void MainWindow::askLogin() {
    m_login = new LoginSheet(this);
    connect(m_login, &LoginSheet::given, &m_link, &PlantLink::logIn);
}

void MainWindow::askWrite(Tag tag, double value) {
    m_write = new WriteSheet(m_picture, tag, value, this);
    connect(m_write, &WriteSheet::confirmed, &m_link, [this, tag, value] { m_link.write(tag, value); });
}

void MainWindow::tellWritten(Tag tag, double value, int result) {
    const QString what =
        QStringLiteral("%1 to %2").arg(QString::fromUtf8(factsOf(tag).name), withUnit(factsOf(tag), value));
    m_operate->tell(result == ResultDone ? QStringLiteral("%1 by %2").arg(what, shownText(m_state.user))
                                         : QStringLiteral("%1: %2").arg(what, reasonOf(result)));
}

} // namespace window_panel
