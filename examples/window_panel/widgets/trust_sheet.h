#pragma once

#include "library/library_words.h"
#include "widgets/sheet.h"

class QGridLayout;

namespace window_panel {

/// The whole certificate of a server that is not trusted, and what to do about it.
class TrustSheet : public Sheet {
    Q_OBJECT

public:
    TrustSheet(const _OpcUaCertificateMsg& certificate, const QString& url, QWidget* window);

signals:
    void answered(TrustAnswer answer);

private:
    void refuse() override { answer(TrustNever); }
    void answer(TrustAnswer answer);
};

} // namespace window_panel
