#include "texts.h"

#include <QFontMetricsF>
#include <QStringList>

namespace window_panel {

QFont fontOf(int pixels, QFont::Weight weight) {
    QFont font;
    font.setFamilies({"Roboto", "Noto Sans", "DejaVu Sans"});
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QFont fixedFontOf(int pixels) {
    QFont font;
    font.setFamilies({"DejaVu Sans Mono", "Noto Sans Mono"});
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(pixels);
    return font;
}

void drawText(QPainter& painter, const QRectF& where, Qt::Alignment alignment, const QString& text,
              const QFont& font, const QColor& colour) {
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(where, static_cast<int>(alignment) | Qt::TextSingleLine,
                     QFontMetricsF(font).elidedText(text, Qt::ElideRight, where.width()));
}

} // namespace window_panel
