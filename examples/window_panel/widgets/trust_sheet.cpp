#include "trust_sheet.h"

#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <string>

#include "drawing/colours.h"
#include "drawing/texts.h"
#include "plant/shown_text.h"

namespace window_panel {
namespace {

QLabel* plainLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setWordWrap(true);
    return label;
}

/// In groups, as people compare them.
QString grouped(const QString& hexadecimal) {
    QString text;
    for (qsizetype i = 0; i < hexadecimal.size(); i += 4)
        text += (i == 0 ? QString() : QStringLiteral(" ")) + hexadecimal.mid(i, 4);
    return text;
}

/// The certificate's lines, two columns.
class Lines {
public:
    Lines(QGridLayout* grid, QWidget* parent) : m_grid(grid), m_parent(parent) {}

    QLabel* add(const char* name, const std::string& value) { return add(name, shownText(value)); }
    QLabel* add(const char* name, const QString& value) {
        const int row = m_grid->rowCount();
        QLabel* const label = plainLabel(QString::fromLatin1(name), m_parent);
        label->setStyleSheet(QStringLiteral("color: %1;").arg(colours::label.name()));
        QLabel* const text = plainLabel(value.isEmpty() ? QStringLiteral("–") : value, m_parent);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        m_grid->addWidget(label, row, 0, Qt::AlignTop);
        m_grid->addWidget(text, row, 1);
        return text;
    }
    void addHeading(const char* text) {
        QLabel* const label = plainLabel(QString::fromLatin1(text), m_parent);
        label->setFont(fontOf(14, QFont::Medium));
        m_grid->addWidget(label, m_grid->rowCount(), 0, 1, 2);
    }
    /// A moment, in a colour when now is on the wrong side of it.
    void addTime(const char* name, const std::string& value, bool isEnd) {
        const QDateTime time = QDateTime::fromString(QString::fromStdString(value), Qt::ISODateWithMs);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const bool wrong = !time.isValid() || (isEnd ? time < now : time > now);
        QLabel* const text =
            add(name, time.isValid() ? time.toUTC().toString("yyyy-MM-dd HH:mm:ss 'UTC'") : shownText(value));
        if (wrong) {
            text->setText(text->text() +
                          (isEnd ? QStringLiteral("   has expired") : QStringLiteral("   is not valid yet")));
            text->setStyleSheet(QStringLiteral("color: %1; background: %2; border-radius: 3px;")
                                    .arg(colours::alarmText.name(), colours::alarm.name()));
        }
    }

private:
    QGridLayout* m_grid;
    QWidget* m_parent;
};

} // namespace

TrustSheet::TrustSheet(const _OpcUaCertificateMsg& certificate, const QString& url, QWidget* window)
    : Sheet(QStringLiteral("Is this the plant's server?"), window) {
    setObjectName("trustSheet");
    body()->addWidget(
        plainLabel(QStringLiteral("%1 shows a certificate that this panel does not find good.\n"
                                  "Compare its thumbprint with the one that the server's operator tells you.")
                       .arg(url),
                   this));
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(24);
    grid->setVerticalSpacing(5);
    grid->setColumnMinimumWidth(1, 480);
    Lines lines(grid, this);
    QLabel* const thumbprint = lines.add("Thumbprint (SHA-1)", grouped(shownText(certificate.thumbprint)));
    thumbprint->setFont(fixedFontOf(14));
    lines.add("Application URI", certificate.applicationUri);
    lines.addTime("Valid from", certificate.validFrom, false);
    lines.addTime("Valid to", certificate.validTo, true);
    lines.add("Serial number", certificate.serialNumber);
    lines.addHeading("Issued by");
    lines.add("Common name", certificate.commonName);
    lines.add("Organization", certificate.organization);
    lines.add("Organization unit", certificate.organizationUnit);
    lines.add("Locality", certificate.locality);
    lines.add("State", certificate.state);
    lines.add("Country", certificate.country);
    lines.add("Domain component", certificate.domainComponent);
    body()->addLayout(grid);

    QPushButton* const never = addButton(QStringLiteral("Do not trust it"), "trustNever");
    connect(never, &QPushButton::clicked, this, [this] { answer(OpcUaTrust_Reject); });
    connect(addButton(QStringLiteral("Trust it this time"), "trustOnce"), &QPushButton::clicked, this,
            [this] { answer(OpcUaTrust_Once); });
    connect(addButton(QStringLiteral("Trust it always"), "trustAlways"), &QPushButton::clicked, this,
            [this] { answer(OpcUaTrust_Always); });
    open(never);
}

void TrustSheet::answer(OpcUaTrust answer) {
    emit answered(answer);
    close();
}

} // namespace window_panel
