#include "ProminentButton.h"

#include "Contrast.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace {

constexpr int ringWidth = 2;
constexpr int ringGap = 1;
constexpr int inset = ringWidth + ringGap; // the fill's distance from the edge
constexpr QMargins padding(12, 4, 12, 4);
constexpr double radius = 6;

} // namespace

ProminentButton::ProminentButton(QWidget *parent) : QPushButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
}

QSize ProminentButton::sizeHint() const {
    return fontMetrics().size(Qt::TextSingleLine, text()).grownBy(padding) +
           QSize(2 * inset, 2 * inset);
}

void ProminentButton::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette &colours = palette();
    // The label keeps the theme's colour; the fill gives way until the label reads on it.
    const QColor label = colours.color(QPalette::HighlightedText);
    QColor fill = Contrast::atLeast(colours.color(QPalette::Highlight), label, Contrast::text);
    if (isDown())
        fill = fill.darker(115);
    if (!isEnabled())
        painter.setOpacity(0.5);
    const QRectF bounds = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    if (hasFocus()) {
        const QColor ring = Contrast::atLeast(colours.color(QPalette::Highlight),
                                              colours.color(QPalette::Base), Contrast::control);
        painter.setPen(QPen(ring, ringWidth));
        const double middle = ringWidth / 2.0;
        painter.drawRoundedRect(QRectF(rect()).adjusted(middle, middle, -middle, -middle),
                                radius + inset, radius + inset);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(bounds, radius, radius);
    // The style draws the label, so that "&" shows as the style shows it on every button.
    QStyleOptionButton option;
    initStyleOption(&option);
    option.rect = bounds.toRect();
    option.palette.setColor(QPalette::ButtonText, label);
    style()->drawControl(QStyle::CE_PushButtonLabel, &option, &painter, this);
}
