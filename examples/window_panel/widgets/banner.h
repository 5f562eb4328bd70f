#pragma once

#include <QFrame>

#include "link/link_state.h"
#include "plant/plant_picture.h"

class QLabel;
class QPushButton;

namespace window_panel {

/// One line on how the panel stands with its plant: quiet while all is well, in a colour when it is not.
class Banner : public QFrame {
    Q_OBJECT

public:
    explicit Banner(QWidget* parent = nullptr);

    void refresh(const LinkState& state, const PlantPicture& picture);

signals:
    void connectAsked();

private:
    QLabel* m_text;
    QPushButton* m_connect;
};

} // namespace window_panel
