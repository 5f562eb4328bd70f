#include "style.h"

#include <QPalette>
#include <QString>

#include "drawing/colours.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

QPalette greyPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, colours::background);
    palette.setColor(QPalette::WindowText, colours::value);
    palette.setColor(QPalette::Base, colours::running);
    palette.setColor(QPalette::Text, colours::value);
    palette.setColor(QPalette::Button, colours::card);
    palette.setColor(QPalette::ButtonText, colours::value);
    palette.setColor(QPalette::PlaceholderText, colours::faint);
    palette.setColor(QPalette::Highlight, colours::trace);
    palette.setColor(QPalette::HighlightedText, colours::running);
    palette.setColor(QPalette::Disabled, QPalette::Text, colours::faint);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, colours::faint);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, colours::faint);
    return palette;
}

/// %1 edge, %2 button, %3 text, %4 faint, %5 card, %6 pressed, %7 focus
const char* const sheet = R"(
    QPushButton { border: 1px solid %1; border-radius: 4px; background: %2; color: %3; padding: 0 16px;
                  min-height: 34px; }
    QPushButton:hover { background: %5; }
    QPushButton:pressed, QPushButton:checked { background: %6; }
    QPushButton:disabled { color: %4; background: transparent; }
    QPushButton:focus, QLineEdit:focus, QDoubleSpinBox:focus { border: 2px solid %7; }
    QLineEdit, QDoubleSpinBox { border: 1px solid %1; border-radius: 4px; background: %2; color: %3;
                                padding: 0 8px; min-height: 34px; }
    QLineEdit:disabled, QDoubleSpinBox:disabled { color: %4; background: transparent; }
    QFrame#card { border: 1px solid %6; border-radius: 8px; background: %5; }
    QFrame#sheetCard { border: 1px solid %1; border-radius: 10px; background: %5; }
)";

} // namespace

void useStyle(QApplication& application) {
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setPalette(greyPalette());
    QApplication::setFont(fontOf(14));
    application.setStyleSheet(QString::fromLatin1(sheet).arg(
        colours::outline.name(), colours::running.name(), colours::value.name(), colours::faint.name(),
        colours::card.name(), colours::cardEdge.name(), colours::trace.name()));
}

} // namespace window_panel
