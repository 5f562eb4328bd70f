#include "banner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "OpcUaHelpers.h"
#include "drawing/colours.h"
#include "drawing/texts.h"

namespace window_panel {
namespace {

using Kind = LinkState::Kind;

QString timeText(const PlantPicture& picture) {
    return picture.latestChange().isValid() ? picture.latestChange().toString("HH:mm:ss") : QString();
}

QString textOf(const LinkState& state, const PlantPicture& picture) {
    const QString time = timeText(picture);
    const QString values = time.isEmpty() ? QString() : QStringLiteral(" Values are those of %1.").arg(time);
    const QString reason = QString::fromUtf8(OpcUaResultText(state.result));
    switch (state.kind) {
    case Kind::Connecting:
        return QStringLiteral("Connecting.") + values;
    case Kind::Connected:
        return QStringLiteral("Connected. Latest change %1").arg(time);
    case Kind::ShuttingDown:
        return QStringLiteral("The server is about to stop.");
    case Kind::Silent:
        return QStringLiteral("No answer from the plant.") + values;
    case Kind::Lost:
        return QStringLiteral("No connection%1. Connecting again.")
                   .arg(state.result == ResultDone ? QString() : QStringLiteral(": ") + reason) +
               values;
    case Kind::GivenUp:
        return QStringLiteral("No connection: %1.").arg(reason) + values;
    }
    return {};
}

struct Colours {
    QColor text;
    QColor ground;
};

Colours coloursOf(Kind kind) {
    switch (kind) {
    case Kind::Connecting:
    case Kind::Connected:
        return {colours::label, Qt::transparent};
    case Kind::ShuttingDown:
    case Kind::Silent:
        return {colours::warningText, colours::warning};
    case Kind::Lost:
    case Kind::GivenUp:
        break;
    }
    return {colours::alarmText, colours::alarm};
}

} // namespace

Banner::Banner(QWidget* parent)
    : QFrame(parent), m_text(new QLabel(this)), m_connect(new QPushButton(QStringLiteral("Connect"), this)) {
    setFixedHeight(36);
    m_text->setObjectName("state");
    m_text->setTextFormat(Qt::PlainText);
    m_connect->setObjectName("connect");
    m_connect->setStyleSheet("min-height: 24px; border: none;");
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 0, 6, 0);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_connect);
    connect(m_connect, &QPushButton::clicked, this, &Banner::connectAsked);
}

void Banner::refresh(const LinkState& state, const PlantPicture& picture) {
    const Colours colours = coloursOf(state.kind);
    const QString style = QStringLiteral("window_panel--Banner { background: %1; border-radius: 6px; }"
                                         "QLabel { color: %2; }")
                              .arg(colours.ground.name(QColor::HexArgb), colours.text.name());
    if (style != styleSheet())
        setStyleSheet(style);
    m_text->setFont(fontOf(14, state.kind == Kind::Connected ? QFont::Normal : QFont::Medium));
    m_text->setText(textOf(state, picture));
    m_connect->setVisible(state.kind == Kind::GivenUp);
}

} // namespace window_panel
