#include "sheet.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QList>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "drawing/texts.h"

namespace window_panel {
namespace {

/// Of the window's children this one alone can be used; all of them when there is none.
void enableOnly(const QWidget* sheet, const QWidget* window) {
    for (QObject* child : window->children())
        if (auto* widget = qobject_cast<QWidget*>(child))
            widget->setEnabled(sheet == nullptr || widget == sheet);
}

} // namespace

Sheet::Sheet(const QString& title, QWidget* window)
    : QWidget(window), m_body(new QVBoxLayout), m_buttons(new QHBoxLayout) {
    window->installEventFilter(this);
    auto* card = new QFrame(this);
    card->setObjectName("sheetCard");
    auto* heading = new QLabel(title, card);
    heading->setFont(fontOf(20, QFont::Medium));
    m_buttons->addStretch();
    auto* inside = new QVBoxLayout(card);
    inside->setContentsMargins(28, 22, 28, 22);
    inside->setSpacing(16);
    inside->addWidget(heading);
    inside->addLayout(m_body);
    inside->addLayout(m_buttons);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(card, 0, Qt::AlignCenter);
}

void Sheet::open(QWidget* focus) {
    enableOnly(this, parentWidget());
    setGeometry(parentWidget()->rect());
    show();
    raise();
    focus->setFocus();
}

QPushButton* Sheet::addButton(const QString& text, const char* name) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    m_buttons->addWidget(button);
    return button;
}

void Sheet::close() {
    QWidget* const window = parentWidget();
    hide();
    setParent(nullptr);
    deleteLater();
    const QList<Sheet*> others = window->findChildren<Sheet*>(Qt::FindDirectChildrenOnly);
    enableOnly(others.isEmpty() ? nullptr : others.last(), window);
}

bool Sheet::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

void Sheet::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        refuse();
}

void Sheet::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), QColor(40, 46, 54, 96));
}

} // namespace window_panel
