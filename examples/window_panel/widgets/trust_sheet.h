#pragma once

#include "OpcUaHelpers.h"
#include "widgets/sheet.h"

class QGridLayout;

namespace window_panel {

/// The whole certificate of a server that is not trusted, and what to do about it.
class TrustSheet : public Sheet {
    Q_OBJECT

public:
    TrustSheet(const _OpcUaCertificateMsg& certificate, const QString& url, QWidget* window);

signals:
    void answered(OpcUaTrust answer);

private:
    void refuse() override { answer(OpcUaTrust_Reject); }
    void answer(OpcUaTrust answer);
};

} // namespace window_panel
