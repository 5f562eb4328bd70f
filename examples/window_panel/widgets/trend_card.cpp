#include "trend_card.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <chrono>

#include "drawing/texts.h"
#include "widgets/trend.h"

namespace window_panel {

TrendCard::TrendCard(const TrendHistory& history, const PlantPicture& picture, QWidget* parent)
    : QFrame(parent), m_trend(new Trend(history, picture, this)) {
    setObjectName("card");
    auto* title = new QLabel(QStringLiteral("Trend"), this);
    title->setFont(fontOf(16, QFont::Medium));
    auto* head = new QHBoxLayout;
    head->addWidget(title);
    head->addStretch();
    for (const int minutes : {1, 5, 15}) {
        auto* button = new QPushButton(QStringLiteral("%1 min").arg(minutes), this);
        button->setObjectName(QStringLiteral("span%1").arg(minutes));
        button->setCheckable(true);
        button->setAutoExclusive(true);
        button->setChecked(m_trend->span().count() == minutes);
        button->setStyleSheet("min-height: 24px; padding: 0 10px;");
        head->addWidget(button);
        connect(button, &QPushButton::clicked, m_trend,
                [this, minutes] { m_trend->setSpan(std::chrono::minutes(minutes)); });
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 8, 16, 8);
    layout->addLayout(head);
    layout->addWidget(m_trend, 1);
}

void TrendCard::refresh() {
    m_trend->update();
}

} // namespace window_panel
