#pragma once

#include <QPainter>
#include <QSizeF>

#include "plant/plant_picture.h"

namespace window_panel {

inline constexpr QSizeF boilerSize{716, 390};

/// Feed water, steam drum and burner.
void drawBoiler(QPainter& painter, const PlantPicture& picture);

} // namespace window_panel
