#pragma once

#include <string>

#include "widgets/sheet.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace window_panel {

/// Asks for user and password, and stays until the server has taken them or nobody wants to log in any more.
class LoginSheet : public Sheet {
    Q_OBJECT

public:
    explicit LoginSheet(QWidget* window);

    void succeed();
    void fail(int result);

signals:
    void given(const std::string& user, const std::string& password);

private:
    void refuse() override { close(); }
    void give();
    void check();

    QLineEdit* m_user;
    QLineEdit* m_password;
    QLabel* m_remark;
    QPushButton* m_logIn;
};

} // namespace window_panel
