#pragma once

#include <QWidget>

#include "link/access.h"
#include "link/link_state.h"

class QLabel;
class QPushButton;

namespace window_panel {

/// Which plant this is, how it is reached, who operates it, and what time it is.
class TitleBar : public QWidget {
    Q_OBJECT

public:
    explicit TitleBar(const Access& access, QWidget* parent = nullptr);

    void refresh(const LinkState& state);

signals:
    void logInAsked();
    void logOutAsked();

private:
    QLabel* m_user;
    QLabel* m_time;
    QPushButton* m_button;
    bool m_loggedIn = false;
};

} // namespace window_panel
