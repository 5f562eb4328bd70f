#pragma once

#include <QFrame>
#include <vector>

#include "plant/plant_picture.h"
#include "plant/tags.h"

class QLabel;

namespace window_panel {

class SetPointRow;

/// What an operator may change, and what has happened lately.
class OperateCard : public QFrame {
    Q_OBJECT

public:
    explicit OperateCard(const PlantPicture& picture, QWidget* parent = nullptr);

    void refresh(bool isLoggedIn);
    /// A line with the time for the list of events.
    void tell(const QString& event);
    QString latestEvent() const;

signals:
    void writeAsked(Tag tag, double value);

private:
    const PlantPicture& m_picture;
    std::vector<SetPointRow*> m_rows;
    QLabel* m_hint;
    QLabel* m_events;
    QStringList m_lines;
};

} // namespace window_panel
