#include "title_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTime>

#include "drawing/colours.h"
#include "drawing/texts.h"
#include "plant/shown_text.h"

namespace window_panel {
namespace {

/// Encryption is as it should be; without it everybody on the way can read and change what is shown.
QLabel* protectionLabel(bool secured, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setText(secured ? QStringLiteral("signed and encrypted") : QStringLiteral("not encrypted"));
    label->setStyleSheet(
        secured ? QStringLiteral("color: %1;").arg(colours::label.name())
                : QStringLiteral("color: %1; background: %2; border-radius: 3px; padding: 2px 8px;")
                      .arg(colours::warningText.name(), colours::warning.name()));
    return label;
}

} // namespace

TitleBar::TitleBar(const Access& access, QWidget* parent)
    : QWidget(parent), m_user(new QLabel(this)), m_time(new QLabel(this)), m_button(new QPushButton(this)) {
    auto* title = new QLabel(QStringLiteral("Dairy"), this);
    title->setFont(fontOf(22, QFont::Medium));
    auto* url = new QLabel(this);
    url->setTextFormat(Qt::PlainText);
    url->setText(shownText(access.url));
    url->setStyleSheet(QStringLiteral("color: %1;").arg(colours::label.name()));
    m_user->setObjectName("user");
    m_user->setTextFormat(Qt::PlainText);
    m_time->setFont(fontOf(17, QFont::Medium));
    m_button->setObjectName("logInOrOut");
    connect(m_button, &QPushButton::clicked, this,
            [this] { m_loggedIn ? emit logOutAsked() : emit logInAsked(); });

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(16);
    layout->addWidget(title);
    layout->addWidget(url);
    layout->addWidget(protectionLabel(access.secured, this));
    layout->addStretch();
    layout->addWidget(m_user);
    layout->addWidget(m_button);
    layout->addWidget(m_time);
}

void TitleBar::refresh(const LinkState& state) {
    m_loggedIn = !state.user.empty();
    m_user->setText(m_loggedIn ? shownText(state.user) : QStringLiteral("nobody logged in"));
    m_button->setText(m_loggedIn ? QStringLiteral("Log out") : QStringLiteral("Log in…"));
    m_button->setEnabled(m_loggedIn || state.isCurrent());
    m_time->setText(QTime::currentTime().toString("HH:mm:ss"));
}

} // namespace window_panel
