#include "login_sheet.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <cstddef>

#include "OpcUaHelpers.h"
#include "drawing/colours.h"
#include "link/access.h"
#include "link/link_state.h"

namespace window_panel {
namespace {

bool fits(const QLineEdit* field, std::size_t limit) {
    return field->text().toUtf8().size() <= static_cast<qsizetype>(limit);
}

} // namespace

LoginSheet::LoginSheet(QWidget* window)
    : Sheet(QStringLiteral("Log in"), window), m_user(new QLineEdit(this)), m_password(new QLineEdit(this)),
      m_remark(new QLabel(this)) {
    setObjectName("loginSheet");
    m_user->setObjectName("loginUser");
    m_password->setObjectName("loginPassword");
    m_password->setEchoMode(QLineEdit::Password);
    m_user->setMinimumWidth(260);
    m_remark->setObjectName("loginRemark");
    m_remark->setWordWrap(true);
    m_remark->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_remark->setMinimumHeight(2 * m_remark->fontMetrics().lineSpacing() + 4);
    m_remark->setTextFormat(Qt::PlainText);
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(24);
    form->setVerticalSpacing(10);
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    form->addRow(QStringLiteral("User"), m_user);
    form->addRow(QStringLiteral("Password"), m_password);
    body()->addLayout(form);
    body()->addWidget(m_remark);
    connect(addButton(QStringLiteral("Cancel"), "loginCancel"), &QPushButton::clicked, this,
            &LoginSheet::close);
    m_logIn = addButton(QStringLiteral("Log in"), "loginGive");
    connect(m_logIn, &QPushButton::clicked, this, &LoginSheet::give);
    connect(m_password, &QLineEdit::returnPressed, this, &LoginSheet::give);
    connect(m_user, &QLineEdit::textChanged, this, &LoginSheet::check);
    connect(m_password, &QLineEdit::textChanged, this, &LoginSheet::check);
    check();
    open(m_user);
}

void LoginSheet::check() {
    m_logIn->setEnabled(!m_user->text().isEmpty() && fits(m_user, Access::userLimit) &&
                        fits(m_password, Access::passwordLimit));
}

void LoginSheet::give() {
    if (!m_logIn->isEnabled())
        return;
    m_logIn->setEnabled(false);
    m_remark->setStyleSheet(QString());
    m_remark->setText(QStringLiteral("Asking the server."));
    emit given(m_user->text().toStdString(), m_password->text().toStdString());
}

void LoginSheet::succeed() {
    close();
}

void LoginSheet::fail(int result) {
    const QString reason =
        result == ResultRefused
            ? QStringLiteral("the server refused this user or password, or it did not answer")
            : QString::fromUtf8(OpcUaResultText(result));
    m_remark->setStyleSheet(QStringLiteral("color: %1;").arg(colours::alarm.name()));
    m_remark->setText(QStringLiteral("Not logged in: %1.").arg(reason));
    m_password->clear();
    check();
}

} // namespace window_panel
