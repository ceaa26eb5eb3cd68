#include "SecondaryLabel.h"

#include "Contrast.h"

#include <QEvent>

SecondaryLabel::SecondaryLabel(const QString &text, QPalette::ColorRole background, QWidget *parent)
    : QLabel(text, parent), m_background(background) {
    setTextFormat(Qt::PlainText);
    recolour();
}

void SecondaryLabel::changeEvent(QEvent *event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        recolour();
}

void SecondaryLabel::recolour() {
    const QPalette &current = palette();
    const QColor readable = Contrast::atLeast(current.color(QPalette::PlaceholderText),
                                              current.color(m_background), Contrast::text);
    if (current.color(QPalette::WindowText) == readable)
        return;
    QPalette recoloured = current;
    recoloured.setColor(QPalette::WindowText, readable);
    setPalette(recoloured);
}
