#pragma once

#include "plant/plant_picture.h"
#include "widgets/sheet.h"

class QPushButton;

namespace window_panel {

/// The last look before a set point goes to the plant.
class WriteSheet : public Sheet {
    Q_OBJECT

public:
    WriteSheet(const PlantPicture& picture, Tag tag, double value, QWidget* window);

    /// What can't be written now can't be confirmed.
    void refresh(bool mayWrite);

signals:
    void confirmed();

private:
    void refuse() override { close(); }

    QPushButton* m_write;
};

} // namespace window_panel
