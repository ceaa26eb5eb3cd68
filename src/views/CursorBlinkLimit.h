#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

// Stops the text cursor's blinking once a field has had no input for a while, as GTK's
// desktops do: a window left open then costs the program no wake-up twice a second. Typing,
// clicking or focusing the field makes it blink again.
class CursorBlinkLimit final : public QObject {
    Q_OBJECT
public:
    CursorBlinkLimit(QWidget *field, int idleMilliseconds);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int m_flashTime;
    QTimer m_idle;
};
