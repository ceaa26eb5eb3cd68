#include "ToggleSwitch.h"

#include "Contrast.h"

#include <QPainter>

namespace {
const QSize trackSize(32, 18);
// Room around the track for the focus ring.
constexpr int focusMargin = 3;
constexpr qreal thumbInset = 2;
} // namespace

ToggleSwitch::ToggleSwitch(QWidget *parent) : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ToggleSwitch::sizeHint() const {
    return trackSize.grownBy(QMargins(focusMargin, focusMargin, focusMargin, focusMargin));
}

void ToggleSwitch::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).marginsRemoved(
        QMarginsF(focusMargin, focusMargin, focusMargin, focusMargin));
    const qreal radius = track.height() / 2;
    if (hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1.5));
        const qreal gap = focusMargin / 2.0;
        painter.drawRoundedRect(track.adjusted(-gap, -gap, gap, gap), radius + gap, radius + gap);
    }
    if (!isEnabled())
        painter.setOpacity(0.5);
    painter.setPen(Qt::NoPen);
    // Off, the track is the switch's whole shape: it stands out from the pane behind it.
    painter.setBrush(isChecked()
                         ? palette().color(QPalette::Highlight)
                         : Contrast::atLeast(palette().color(QPalette::Mid),
                                             palette().color(QPalette::Window), Contrast::control));
    painter.drawRoundedRect(track, radius, radius);

    const qreal diameter = track.height() - 2 * thumbInset;
    const qreal left =
        isChecked() ? track.right() - thumbInset - diameter : track.left() + thumbInset;
    QColor edge = palette().color(QPalette::Shadow);
    edge.setAlphaF(0.25);
    painter.setPen(QPen(edge, 0.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(left, track.top() + thumbInset, diameter, diameter));
}
