#include "set_point_row.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "drawing/texts.h"

namespace window_panel {

SetPointRow::SetPointRow(const PlantPicture& picture, Tag tag, QWidget* parent)
    : QWidget(parent), m_picture(picture), m_tag(tag), m_value(new QLabel(this)),
      m_wanted(new QDoubleSpinBox(this)), m_write(new QPushButton(QStringLiteral("Write…"), this)) {
    const TagFacts& facts = factsOf(tag);
    const QString key = QString::number(static_cast<int>(tag));
    m_value->setTextFormat(Qt::PlainText);
    m_value->setFont(fontOf(17, QFont::Medium));
    m_wanted->setObjectName("wanted" + key);
    m_wanted->setLocale(QLocale::c());
    m_wanted->setDecimals(facts.decimals);
    m_wanted->setRange(facts.low, facts.high);
    m_wanted->setSingleStep(facts.decimals > 1 ? 0.05 : 0.5);
    m_wanted->setSuffix(QLatin1Char(' ') + QString::fromUtf8(facts.unit));
    m_wanted->setButtonSymbols(QAbstractSpinBox::NoButtons);
    m_wanted->setAlignment(Qt::AlignRight);
    m_write->setObjectName("write" + key);
    connect(m_write, &QPushButton::clicked, this, [this] { emit writeAsked(m_tag, m_wanted->value()); });

    auto* name = new QLabel(QString::fromUtf8(facts.name), this);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    line->addWidget(m_value, 1);
    line->addWidget(m_wanted, 1);
    line->addWidget(m_write);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(name);
    layout->addLayout(line);
}

void SetPointRow::refresh(bool mayWrite) {
    const double value = m_picture.number(m_tag);
    m_value->setText(m_picture.textWithUnit(m_tag));
    m_value->setEnabled(m_picture.isCurrent());
    m_wanted->setEnabled(mayWrite);
    m_write->setEnabled(mayWrite && m_picture.isKnown(m_tag));
    if (!m_filled && m_picture.isKnown(m_tag) && std::isfinite(value)) {
        m_wanted->setValue(value);
        m_filled = true;
    }
}

} // namespace window_panel
