#include "CursorBlinkLimit.h"

#include <QEvent>
#include <QGuiApplication>
#include <QStyleHints>
#include <QWidget>

CursorBlinkLimit::CursorBlinkLimit(QWidget *field, int idleMilliseconds)
    : QObject(field), m_flashTime(QGuiApplication::styleHints()->cursorFlashTime()) {
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleMilliseconds);
    // The flash time is the application's: only this program's fields stop blinking.
    connect(&m_idle, &QTimer::timeout, this,
            [] { QGuiApplication::styleHints()->setCursorFlashTime(0); });
    field->installEventFilter(this);
}

bool CursorBlinkLimit::eventFilter(QObject *watched, QEvent *event) {
    switch (event->type()) {
    case QEvent::FocusIn:
    case QEvent::KeyPress:
    case QEvent::InputMethod:
    case QEvent::MouseButtonPress:
        // Before the field handles the event, so that it starts blinking at the usual pace.
        QGuiApplication::styleHints()->setCursorFlashTime(m_flashTime);
        m_idle.start();
        break;
    case QEvent::FocusOut:
        m_idle.stop();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
