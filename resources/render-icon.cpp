// Renders an SVG icon to a square PNG of the given size, for the icon theme's fixed-size folders.
#include <cstdio>
#include <cstdlib>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s ICON.svg SIZE OUT.png\n", argv[0]);
        return 2;
    }
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    const int size = std::atoi(argv[2]);
    if (!renderer.isValid() || size <= 0) {
        std::fprintf(stderr, "%s: cannot render %s at size %s\n", argv[0], argv[1], argv[2]);
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    if (!image.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[3]);
        return 1;
    }
    return 0;
}
