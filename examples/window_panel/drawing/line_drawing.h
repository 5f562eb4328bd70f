#pragma once

#include <QPainter>
#include <QSizeF>

#include "plant/plant_picture.h"

namespace window_panel {

inline constexpr QSizeF lineSize{514, 390};

/// The filling and packing line. `travel` is how far the belt has come, in metres.
void drawLine(QPainter& painter, const PlantPicture& picture, double travel);

} // namespace window_panel
