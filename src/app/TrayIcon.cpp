#include "TrayIcon.h"

#include <algorithm>
#include <QFile>
#include <QFontMetrics>
#include <QPainter>
#include <QPalette>

namespace {

const QColor ink(0x1a, 0x1a, 0x1a);
const QColor edge(0xff, 0xff, 0xff, 0xe6);

QIcon glyph() {
    const QString asset = QStringLiteral(":/MenuBarIcon.svg");
    return QFile::exists(asset) ? QIcon(asset)
                                : QIcon::fromTheme(QStringLiteral("application-x-executable"));
}

// The glyph's shape filled with one colour, inside a margin for its edge.
QImage shape(const QSize &size, int margin, const QColor &colour) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    glyph().paint(&painter, image.rect().adjusted(margin, margin, -margin, -margin));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

void paintBadge(QPainter &painter, const QRect &bounds, int count, const QPalette &palette,
                int scale) {
    const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(11 * scale);
    painter.setFont(font);
    const int width = std::max(QFontMetrics(font).horizontalAdvance(text) + 4 * scale, 13 * scale);
    const QRect badge(bounds.width() - width, bounds.height() - 13 * scale, width, 13 * scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette.color(QPalette::Highlight));
    painter.drawRoundedRect(badge, 6.5 * scale, 6.5 * scale);
    painter.setPen(palette.color(QPalette::HighlightedText));
    painter.drawText(badge, Qt::AlignCenter, text);
}

} // namespace

QIcon TrayIcon::make(int count, const QPalette &palette) {
    QIcon icon;
    for (const int scale : {1, 2})
        icon.addPixmap(QPixmap::fromImage(draw(count, palette, scale)));
    return icon;
}

QImage TrayIcon::draw(int count, const QPalette &palette, int scale) {
    const QSize pixels(size * scale, size * scale);
    const int margin = scale;
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // The edge: the light shape once in every direction around where the dark one goes.
    const QImage light = shape(pixels, margin, edge);
    for (int dx = -margin; dx <= margin; dx += margin)
        for (int dy = -margin; dy <= margin; dy += margin)
            painter.drawImage(QPoint(dx, dy), light);
    painter.drawImage(QPoint(0, 0), shape(pixels, margin, ink));
    if (count > 0)
        paintBadge(painter, image.rect(), count, palette, scale);
    return image;
}
