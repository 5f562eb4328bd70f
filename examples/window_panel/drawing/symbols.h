#pragma once

#include <QPainter>
#include <QPointF>
#include <QPolygonF>
#include <QString>

#include "plant/plant_picture.h"

/// The plain signs of which a mimic is put together. What runs is light, what stands still dark, and what
/// nobody knows about is as grey as all the rest.
namespace window_panel {

enum class Motion { Unknown, Stands, Runs };

/// Of a drive whose tag is a Boolean, or of a valve by its opening.
Motion motionOf(const PlantPicture& picture, Tag tag);

void drawPipe(QPainter& painter, const QPolygonF& way);
/// The pipe's end, where it leaves the picture.
void drawArrow(QPainter& painter, const QPointF& tip);
void drawPump(QPainter& painter, const QPointF& centre, Motion motion);
/// What is open is light.
void drawValve(QPainter& painter, const QPointF& centre, Motion motion);
void drawFan(QPainter& painter, const QPointF& centre, Motion motion);
void drawMotor(QPainter& painter, const QPointF& centre, Motion motion);
void drawFlame(QPainter& painter, const QPointF& base, Motion motion);

} // namespace window_panel
