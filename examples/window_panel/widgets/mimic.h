#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "plant/plant_picture.h"

namespace window_panel {

/// The boiler and the line, drawn to the widget's size. While nothing is heard of the plant all of it is grey
/// and hatched.
class Mimic : public QWidget {
    Q_OBJECT

public:
    explicit Mimic(const PlantPicture& picture, QWidget* parent = nullptr);

    /// Moves the belt on, and draws.
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const PlantPicture& m_picture;
    QElapsedTimer m_sinceRefresh;
    double m_travel = 0; ///< of the belt, in metres
};

} // namespace window_panel
