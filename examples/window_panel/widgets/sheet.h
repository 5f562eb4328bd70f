#pragma once

#include <QString>
#include <QWidget>

class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

namespace window_panel {

/// A question in front of the window: what is behind it stays in sight and can't be touched. It goes away
/// with its answer; Escape is the careful one.
class Sheet : public QWidget {
    Q_OBJECT

public:
    /// `window`'s other children are disabled from open() to close().
    Sheet(const QString& title, QWidget* window);

protected:
    /// Shows the sheet, once it has all its parts.
    void open(QWidget* focus);
    QVBoxLayout* body() const { return m_body; }
    /// A button in the row at the bottom, from the left.
    QPushButton* addButton(const QString& text, const char* name);
    /// Answers with nothing done.
    virtual void refuse() = 0;
    void close();

    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_body;
    QHBoxLayout* m_buttons;
};

} // namespace window_panel
