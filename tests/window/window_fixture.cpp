#include "window_fixture.h"

#include <QAbstractButton>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "OpcUaClientInterface.h"
#include "plant/tags.h"
#include "widgets/style.h"

namespace window_test {
namespace {

constexpr int limit = 60000; // milliseconds

} // namespace

std::unique_ptr<test_support::ChildProcess> Window::screen;
std::unique_ptr<QApplication> Window::application;

void Window::SetUpTestSuite() {
    // It takes a number that is free, and tells it when it is ready.
    screen = std::make_unique<test_support::ChildProcess>(
        "Xvfb",
        std::vector<std::string>{"-displayfd", "1", "-screen", "0", "1400x1000x24", "-nolisten", "tcp"});
    const std::string number = screen->waitForLine(std::chrono::milliseconds(limit));
    qputenv("DISPLAY", QByteArray::fromStdString(":" + number));
    qputenv("QT_QPA_PLATFORM", "xcb");
    static int count = 1;
    static char name[] = "window_panel_test";
    static char* arguments[] = {name, nullptr};
    application = std::make_unique<QApplication>(count, arguments);
    window_panel::useStyle(*application);
}

void Window::TearDownTestSuite() {
    application.reset();
    screen.reset();
}

Window::~Window() = default;

void Window::startPlant(const std::vector<std::string>& options) {
    m_options = {"--security", "--pki", m_pki.path(), "--die-with-parent"};
    m_options.insert(m_options.end(), options.begin(), options.end());
    std::vector<std::string> arguments = m_options;
    arguments.insert(arguments.end(), {"--port", "0"});
    m_plant = std::make_unique<test_support::ServerProcess>(test_support::PlantServer::program(), arguments);
}

void Window::restartPlant() {
    std::vector<std::string> arguments = m_options;
    arguments.insert(arguments.end(), {"--port", std::to_string(m_plant->port())});
    m_plant = std::make_unique<test_support::ServerProcess>(test_support::PlantServer::program(), arguments);
}

void Window::writeToPlant(const std::string& nodeId, const std::string& text) {
    COpcUaClientInterface client;
    _OpcUaClientConfig config{};
    m_plant->url().copy(config.endpointUrl, sizeof config.endpointUrl - 1);
    ASSERT_EQ(client.OpcUaConnect(config), 0);
    int size = 0;
    ASSERT_EQ(
        client.OpcUaSetValue(client.OpcUaGetUaNode(nodeId.c_str(), OpcUaDataType_String), text.c_str(), size),
        0);
}

void Window::openWindow() {
    window_panel::Access access;
    access.url = m_plant->url();
    m_window = std::make_unique<window_panel::MainWindow>(access);
    m_window->show();
}

void Window::openConnected() {
    openWindow();
    click("trustAlways");
    awaitCurrent();
    await("all values", [this] {
        for (const window_panel::Tag tag : window_panel::allTags())
            if (!picture().isKnown(tag))
                return false;
        return true;
    });
}

void Window::logIn(const QString& password) {
    click("logInOrOut");
    type("loginUser", "operator");
    type("loginPassword", password);
    click("loginGive");
}

void Window::await(const char* what, const std::function<bool()>& condition) {
    if (!QTest::qWaitFor(condition, limit))
        throw std::runtime_error(std::string("did not come: ") + what);
}

void Window::awaitCurrent(bool current) {
    await(current ? "connection" : "loss of connection", [=] { return picture().isCurrent() == current; });
}

bool Window::isUsable(const QString& name) {
    const QWidget* const widget = find(name);
    return widget != nullptr && widget->isVisible() && widget->isEnabled();
}

void Window::click(const QString& name) {
    await(name.toUtf8().constData(), [&] { return isUsable(name); });
    QTest::mouseClick(find(name), Qt::LeftButton);
}

void Window::type(const QString& name, const QString& text) {
    await(name.toUtf8().constData(), [&] { return isUsable(name); });
    QWidget* const field = find(name);
    if (auto* line = qobject_cast<QLineEdit*>(field))
        line->selectAll();
    if (auto* number = qobject_cast<QDoubleSpinBox*>(field))
        number->selectAll();
    QTest::keyClicks(field, text);
}

QString Window::textOf(const QString& name) {
    if (auto* label = m_window->findChild<QLabel*>(name))
        return label->text();
    auto* button = m_window->findChild<QAbstractButton*>(name);
    return button != nullptr ? button->text() : QString();
}

void Window::photograph(const QString& name) {
    constexpr int smallest = 0;
    ASSERT_TRUE(imageOf(*m_window).save(QStringLiteral(PICTURES "/%1.png").arg(name), "PNG", smallest));
}

} // namespace window_test
