#pragma once

#include <QFont>
#include <QPainter>
#include <QRectF>
#include <QString>

namespace window_panel {

/// The panel's one typeface, at a size in pixels.
QFont fontOf(int pixels, QFont::Weight weight = QFont::Normal);
/// Where every character has the same width: thumbprints.
QFont fixedFontOf(int pixels);

/// One line of text, cut with an ellipsis where it does not fit.
void drawText(QPainter& painter, const QRectF& where, Qt::Alignment alignment, const QString& text,
              const QFont& font, const QColor& colour);

} // namespace window_panel
