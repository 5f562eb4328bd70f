#pragma once

#include <QApplication>
#include <QImage>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"
#include "widgets/main_window.h"

namespace window_test {

/// A secured plant, and the panel's window in front of it, operated by its buttons and fields. It is on a
/// screen that nobody sees.
class Window : public testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    ~Window() override;

    /// The plant keeps its certificate when it is started again.
    void startPlant(const std::vector<std::string>& options = {});
    /// On the same port as before.
    void restartPlant();
    test_support::ServerProcess& plant() { return *m_plant; }
    std::string certificateFile() const { return m_pki.path() / "plant-server.der"; }
    void writeToPlant(const std::string& nodeId, const std::string& text);

    void openWindow();
    void closeWindow() { m_window.reset(); }
    window_panel::MainWindow& window() { return *m_window; }
    const window_panel::PlantPicture& picture() { return m_window->picture(); }

    /// With the plant trusted for good, all values there.
    void openConnected();
    void logIn(const QString& password = "plant");

    /// Fails the test when it does not come true in time.
    static void await(const char* what, const std::function<bool()>& condition);
    void awaitCurrent(bool current = true);

    QWidget* find(const QString& name) { return m_window->findChild<QWidget*>(name); }
    bool isUsable(const QString& name);
    /// Waits until it can be clicked.
    void click(const QString& name);
    void type(const QString& name, const QString& text);
    QString textOf(const QString& name);

    QImage imageOf(QWidget& widget) { return widget.grab().toImage(); }
    /// Saved under this name beside the build.
    void photograph(const QString& name);

private:
    static std::unique_ptr<test_support::ChildProcess> screen;
    static std::unique_ptr<QApplication> application;

    test_support::TemporaryDirectory m_pki;
    std::vector<std::string> m_options;
    std::unique_ptr<test_support::ServerProcess> m_plant;
    std::unique_ptr<window_panel::MainWindow> m_window;
};

} // namespace window_test
