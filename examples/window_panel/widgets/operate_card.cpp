#include "operate_card.h"

#include <QLabel>
#include <QTime>
#include <QVBoxLayout>

#include "drawing/texts.h"
#include "widgets/set_point_row.h"

namespace window_panel {
namespace {

constexpr qsizetype mostLines = 4;

QLabel* heading(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(fontOf(16, QFont::Medium));
    return label;
}

} // namespace

OperateCard::OperateCard(const PlantPicture& picture, QWidget* parent)
    : QFrame(parent), m_picture(picture), m_hint(new QLabel(this)), m_events(new QLabel(this)) {
    setObjectName("card");
    setFixedWidth(356);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 8, 16, 10);
    layout->setSpacing(8);
    layout->addWidget(heading(QStringLiteral("Set points"), this));
    for (const Tag tag : {Tag::LineSetPoint, Tag::BurnerSetPoint}) {
        auto* row = new SetPointRow(picture, tag, this);
        connect(row, &SetPointRow::writeAsked, this, &OperateCard::writeAsked);
        layout->addWidget(row);
        m_rows.push_back(row);
    }
    m_hint->setText(QStringLiteral("Log in to change them."));
    m_hint->setEnabled(false);
    layout->addWidget(m_hint);
    layout->addWidget(heading(QStringLiteral("Events"), this));
    m_events->setObjectName("events");
    m_events->setTextFormat(Qt::PlainText);
    m_events->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_events->setWordWrap(true);
    m_events->setFont(fontOf(12));
    m_events->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    layout->addWidget(m_events, 1);
}

void OperateCard::refresh(bool isLoggedIn) {
    for (SetPointRow* row : m_rows)
        row->refresh(isLoggedIn && m_picture.isCurrent());
    m_hint->setVisible(!isLoggedIn);
}

void OperateCard::tell(const QString& event) {
    m_lines.prepend(QTime::currentTime().toString("HH:mm:ss  ") + event);
    while (m_lines.size() > mostLines)
        m_lines.removeLast();
    m_events->setText(m_lines.join('\n'));
}

QString OperateCard::latestEvent() const {
    return m_lines.isEmpty() ? QString() : m_lines.first();
}

} // namespace window_panel
