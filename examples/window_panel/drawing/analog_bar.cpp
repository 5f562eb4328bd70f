#include "analog_bar.h"

#include <QFontMetricsF>
#include <algorithm>
#include <cmath>
#include <optional>

#include "drawing/colours.h"
#include "drawing/texts.h"
#include "drawing/value_field.h"

namespace window_panel {
namespace {

constexpr double barWidth = 18;
constexpr double headHeight = 24;
constexpr double footHeight = 34;

/// Where on the scale, top to bottom. What is beyond it stops at its end.
double heightOf(const QRectF& bar, const TagFacts& facts, double value) {
    const double part = (std::clamp(value, facts.low, facts.high) - facts.low) / (facts.high - facts.low);
    return bar.bottom() - part * bar.height();
}

void drawScale(QPainter& painter, const QRectF& bar, const TagFacts& facts) {
    painter.setPen(QPen(colours::outline, 1));
    painter.setBrush(colours::vessel);
    painter.drawRect(bar);
    if (std::isinf(facts.normalLow) && std::isinf(facts.normalHigh))
        return;
    const double top = heightOf(bar, facts, facts.normalHigh);
    painter.fillRect(
        QRectF(bar.left() + 1, top, bar.width() - 1, heightOf(bar, facts, facts.normalLow) - top),
        colours::normalBand);
    painter.drawLine(QPointF(bar.left() - 3, top), QPointF(bar.right() + 3, top));
    const double bottom = heightOf(bar, facts, facts.normalLow);
    painter.drawLine(QPointF(bar.left() - 3, bottom), QPointF(bar.right() + 3, bottom));
}

void drawPointer(QPainter& painter, const QRectF& bar, double height, Condition condition) {
    QColor colour = colours::value;
    if (condition == Condition::Old || condition == Condition::Unknown)
        colour = colours::faint;
    else if (condition == Condition::Failed)
        colour = colours::alarm;
    else if (condition != Condition::Normal)
        colour = colours::warning;
    painter.setPen(QPen(condition == Condition::Normal ? colour : colours::value, 1));
    painter.setBrush(colour);
    const QPointF tip(bar.left() + 5, height);
    painter.drawPolygon(QPolygonF({tip, tip + QPointF(19, -8), tip + QPointF(19, 8)}));
}

void drawSetPoint(QPainter& painter, const QRectF& bar, double height) {
    painter.setPen(QPen(colours::value, 1.6));
    painter.setBrush(Qt::NoBrush);
    const QPointF tip(bar.left() + 1, height);
    painter.drawPolygon(QPolygonF({tip, tip + QPointF(-11, -6), tip + QPointF(-11, 6)}));
}

} // namespace

void drawAnalogBar(QPainter& painter, const QRectF& where, const QString& name, const PlantPicture& picture,
                   Tag tag, std::optional<Tag> setPoint) {
    const TagFacts& facts = factsOf(tag);
    const QRectF bar(where.center().x() - barWidth / 2, where.top() + headHeight, barWidth,
                     where.height() - headHeight - footHeight);
    drawText(painter, {where.left(), where.top(), where.width(), 18}, Qt::AlignCenter, name, fontOf(12),
             colours::label);
    drawScale(painter, bar, facts);
    if (setPoint && picture.isKnown(*setPoint))
        drawSetPoint(painter, bar, heightOf(bar, facts, picture.number(*setPoint)));
    if (picture.isKnown(tag) && std::isfinite(picture.number(tag)))
        drawPointer(painter, bar, heightOf(bar, facts, picture.number(tag)), picture.condition(tag));
    const double textWidth = QFontMetricsF(fontOf(17, QFont::Medium)).horizontalAdvance(picture.text(tag)) +
                             QFontMetricsF(fontOf(12)).horizontalAdvance(QString::fromUtf8(facts.unit)) + 7;
    const bool marked = picture.condition(tag) != Condition::Normal && picture.isCurrent();
    const double width = std::min(textWidth + (marked ? 16 : 0), where.width());
    drawValue(painter, {where.center().x() - width / 2, where.bottom() - 26, width, 24}, picture, tag);
}

} // namespace window_panel
