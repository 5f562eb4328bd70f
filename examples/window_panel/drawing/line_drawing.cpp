#include "line_drawing.h"

#include <QPainterPath>
#include <cmath>

#include "drawing/analog_bar.h"
#include "drawing/colours.h"
#include "drawing/symbols.h"
#include "drawing/texts.h"
#include "drawing/value_field.h"

namespace window_panel {
namespace {

const QRectF belt(14, 258, 316, 24);
constexpr double bottleDistance = 39;
constexpr double pixelsPerMetre = 24;

void drawMachine(QPainter& painter, const QRectF& where, const QString& name) {
    painter.setPen(QPen(colours::outline, 2));
    painter.setBrush(colours::vessel);
    painter.drawRoundedRect(where, 5, 5);
    drawText(painter, where, Qt::AlignCenter, name, fontOf(13, QFont::Medium), colours::label);
    painter.setPen(QPen(colours::outline, 1.5));
    painter.setBrush(colours::pipe);
    for (const double nozzle : {0.25, 0.5, 0.75}) {
        const double x = where.left() + nozzle * where.width();
        painter.drawRect(QRectF(x - 4, where.bottom(), 8, 10));
    }
}

/// `x` is the bottle's middle; what is in it has come from the filler.
void drawBottle(QPainter& painter, double x, bool filled) {
    QPainterPath bottle(QPointF(x - 8, belt.top()));
    bottle.lineTo(x - 8, belt.top() - 22);
    bottle.quadTo(x - 8, belt.top() - 30, x - 3, belt.top() - 33);
    bottle.lineTo(x - 3, belt.top() - 40);
    bottle.lineTo(x + 3, belt.top() - 40);
    bottle.lineTo(x + 3, belt.top() - 33);
    bottle.quadTo(x + 8, belt.top() - 30, x + 8, belt.top() - 22);
    bottle.lineTo(x + 8, belt.top());
    bottle.closeSubpath();
    painter.setPen(QPen(colours::outline, 1.2));
    painter.setBrush(filled ? colours::running : colours::vessel);
    painter.drawPath(bottle);
}

void drawBelt(QPainter& painter, double travel, double filler) {
    painter.save();
    painter.setClipRect(belt.adjusted(0, -60, 0, 0));
    const double offset = std::fmod(travel * pixelsPerMetre, bottleDistance);
    for (int bottle = -1; bottle <= static_cast<int>(belt.width() / bottleDistance) + 1; ++bottle) {
        const double x = belt.left() + offset + bottle * bottleDistance;
        drawBottle(painter, x, x > filler);
    }
    painter.restore();
    painter.setPen(QPen(colours::outline, 2));
    painter.setBrush(colours::pipe);
    painter.drawRoundedRect(belt, belt.height() / 2, belt.height() / 2);
    painter.setBrush(colours::vessel);
    constexpr int rollers = 7;
    const double rollerDistance = (belt.width() - belt.height()) / (rollers - 1);
    for (int roller = 0; roller < rollers; ++roller)
        painter.drawEllipse(
            QPointF(belt.left() + belt.height() / 2 + roller * rollerDistance, belt.center().y()), 6, 6);
}

} // namespace

void drawLine(QPainter& painter, const PlantPicture& picture, double travel) {
    drawNamedValue(painter, {14, 0}, QStringLiteral("State"), picture, Tag::LineState, 88);
    drawNamedValue(painter, {122, 0}, QStringLiteral("Batch"), picture, Tag::Batch, 120);
    drawNamedValue(painter, {262, 0}, QStringLiteral("Parts"), picture, Tag::PartCount, 84);
    const QRectF filler(62, 88, 112, 96);
    drawMachine(painter, filler, QStringLiteral("Filler"));
    drawMachine(painter, {214, 88, 92, 96}, QStringLiteral("Capper"));
    drawBelt(painter, travel, filler.center().x());
    const QPointF motor(belt.left() + 22, 340);
    drawPipe(painter, QPolygonF({QPointF(motor.x(), belt.bottom()), motor}));
    drawMotor(painter, motor, motionOf(picture, Tag::LineRunning));
    drawText(painter, {motor.x() + 30, motor.y() - 9, 120, 18}, Qt::AlignLeft | Qt::AlignVCenter,
             QStringLiteral("Belt drive"), fontOf(13, QFont::Medium), colours::label);
    drawAnalogBar(painter, {346, 62, 84, 318}, QStringLiteral("Speed"), picture, Tag::LineSpeed,
                  Tag::LineSetPoint);
    drawAnalogBar(painter, {430, 62, 84, 318}, QStringLiteral("Torque"), picture, Tag::MotorTorque);
}

} // namespace window_panel
