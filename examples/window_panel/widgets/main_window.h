#pragma once

#include <QPointer>
#include <QWidget>

#include "link/access.h"
#include "link/plant_link.h"
#include "plant/latest_values.h"
#include "plant/plant_picture.h"
#include "plant/trend_history.h"

namespace window_panel {

class Banner;
class LoginSheet;
class Mimic;
class OperateCard;
class TitleBar;
class TrendCard;
class WriteSheet;

/// The panel. It fetches what has changed twenty times a second and draws it; nothing here waits for the
/// server.
class MainWindow : public QWidget {
    Q_OBJECT

public:
    explicit MainWindow(const Access& access);

    const PlantPicture& picture() const { return m_picture; }
    const TrendHistory& history() const { return m_history; }

private:
    void connectParts();
    void refresh();
    void takeChanges();
    void takeState(const LinkState& state);
    void markTrend(bool isCurrent);
    void askTrust(const _OpcUaCertificateMsg& certificate);
    void askLogin();
    void askWrite(Tag tag, double value);
    void tellWritten(Tag tag, double value, int result);

    QString m_url;
    LatestValues m_latest;
    PlantPicture m_picture;
    TrendHistory m_history;
    LinkState m_state;
    TrendHistory::Clock::time_point m_lastHeard{};
    TitleBar* m_title;
    Banner* m_banner;
    Mimic* m_mimic;
    TrendCard* m_trend;
    OperateCard* m_operate;
    QPointer<LoginSheet> m_login;
    QPointer<WriteSheet> m_write;
    PlantLink m_link; ///< goes first: until then its threads have values to leave
};

} // namespace window_panel
