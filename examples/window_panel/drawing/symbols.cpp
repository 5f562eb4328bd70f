#include "symbols.h"

#include <QPainterPath>

#include "drawing/colours.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

constexpr double radius = 19;

void useOutline(QPainter& painter, const QColor& fill) {
    painter.setPen(QPen(colours::outline, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(fill);
}

QColor fillOf(Motion motion) {
    if (motion == Motion::Unknown)
        return colours::vessel;
    return motion == Motion::Runs ? colours::running : colours::stopped;
}

} // namespace

Motion motionOf(const PlantPicture& picture, Tag tag) {
    if (!picture.isKnown(tag) || picture.condition(tag) == Condition::Failed)
        return Motion::Unknown;
    return picture.number(tag) > 0 ? Motion::Runs : Motion::Stands;
}

void drawPipe(QPainter& painter, const QPolygonF& way) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colours::outline, 9, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    painter.drawPolyline(way);
    painter.setPen(QPen(colours::pipe, 6, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    painter.drawPolyline(way);
}

void drawArrow(QPainter& painter, const QPointF& tip) {
    useOutline(painter, colours::pipe);
    painter.drawPolygon(QPolygonF({tip, tip + QPointF(-16, -9), tip + QPointF(-16, 9)}));
}

void drawPump(QPainter& painter, const QPointF& centre, Motion motion) {
    useOutline(painter, fillOf(motion));
    painter.drawEllipse(centre, radius, radius);
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(
        QPolygonF({centre + QPointF(0, -radius), centre + QPointF(radius, 0), centre + QPointF(0, radius)}));
}

void drawValve(QPainter& painter, const QPointF& centre, Motion motion) {
    useOutline(painter, fillOf(motion));
    painter.drawPolygon(QPolygonF({centre, centre + QPointF(-18, -12), centre + QPointF(-18, 12)}));
    painter.drawPolygon(QPolygonF({centre, centre + QPointF(18, -12), centre + QPointF(18, 12)}));
    painter.drawLine(centre, centre + QPointF(0, -18));
    painter.drawChord(QRectF(centre + QPointF(-11, -29), QSizeF(22, 22)), 0, 180 * 16);
}

void drawFan(QPainter& painter, const QPointF& centre, Motion motion) {
    useOutline(painter, fillOf(motion));
    painter.drawEllipse(centre, radius, radius);
    painter.setBrush(colours::vessel);
    for (int blade = 0; blade < 3; ++blade) {
        painter.save();
        painter.translate(centre);
        painter.rotate(120 * blade - 90);
        painter.drawEllipse(QPointF(9, 0), 8, 4.5);
        painter.restore();
    }
}

void drawMotor(QPainter& painter, const QPointF& centre, Motion motion) {
    useOutline(painter, fillOf(motion));
    painter.drawEllipse(centre, radius, radius);
    drawText(painter, QRectF(centre - QPointF(radius, radius), QSizeF(2 * radius, 2 * radius)),
             Qt::AlignCenter, QStringLiteral("M"), fontOf(16, QFont::Medium),
             motion == Motion::Stands ? colours::running : colours::label);
}

void drawFlame(QPainter& painter, const QPointF& base, Motion motion) {
    QPainterPath flame(base);
    flame.cubicTo(base + QPointF(-26, -14), base + QPointF(-12, -30), base + QPointF(-2, -52));
    flame.cubicTo(base + QPointF(2, -38), base + QPointF(30, -24), base);
    useOutline(painter, fillOf(motion));
    painter.drawPath(flame);
}

} // namespace window_panel
