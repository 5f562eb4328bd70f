#include "write_sheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "drawing/colours.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

QVBoxLayout* column(const QString& name, const QString& value, QFont::Weight weight, QWidget* parent) {
    auto* label = new QLabel(name, parent);
    label->setStyleSheet(QStringLiteral("color: %1;").arg(colours::label.name()));
    auto* text = new QLabel(value, parent);
    text->setFont(fontOf(28, weight));
    auto* layout = new QVBoxLayout;
    layout->setSpacing(2);
    layout->addWidget(label);
    layout->addWidget(text);
    return layout;
}

} // namespace

WriteSheet::WriteSheet(const PlantPicture& picture, Tag tag, double value, QWidget* window)
    : Sheet(QStringLiteral("Change the set point of %1?").arg(QString::fromUtf8(factsOf(tag).name)), window) {
    setObjectName("writeSheet");
    auto* arrow = new QLabel(QStringLiteral("→"), this);
    arrow->setFont(fontOf(28));
    auto* values = new QHBoxLayout;
    values->setSpacing(28);
    values->addLayout(column(QStringLiteral("From"), picture.textWithUnit(tag), QFont::Normal, this));
    values->addWidget(arrow, 0, Qt::AlignBottom);
    values->addLayout(column(QStringLiteral("To"), withUnit(factsOf(tag), value), QFont::Medium, this));
    values->addStretch();
    body()->addLayout(values);
    QPushButton* const keep = addButton(QStringLiteral("Leave it"), "writeCancel");
    connect(keep, &QPushButton::clicked, this, &WriteSheet::close);
    m_write = addButton(QStringLiteral("Write it"), "writeConfirm");
    connect(m_write, &QPushButton::clicked, this, [this] {
        emit confirmed();
        close();
    });
    open(keep);
}

void WriteSheet::refresh(bool mayWrite) {
    m_write->setEnabled(mayWrite);
}

} // namespace window_panel
