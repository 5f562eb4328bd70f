#pragma once

#include <QWidget>

#include "plant/plant_picture.h"
#include "plant/tags.h"

class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace window_panel {

/// One set point: what it is, and what it is to become. Nothing is written from here; it is asked for.
class SetPointRow : public QWidget {
    Q_OBJECT

public:
    SetPointRow(const PlantPicture& picture, Tag tag, QWidget* parent = nullptr);

    void refresh(bool mayWrite);

signals:
    void writeAsked(Tag tag, double value);

private:
    const PlantPicture& m_picture;
    Tag m_tag;
    bool m_filled = false; ///< the field has had the plant's value to begin with
    QLabel* m_value;
    QDoubleSpinBox* m_wanted;
    QPushButton* m_write;
};

} // namespace window_panel
