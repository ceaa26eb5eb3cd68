// Writes a PNG of one window of the X display: the headless session's way to show what a
// program looks like. Usage: quellory-screenshot WINDOW-ID FILE
#include <cstdio>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char **argv) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    bool isNumber = false;
    const WId window = arguments.size() == 3 ? arguments[1].toULongLong(&isNumber, 0) : 0;
    if (!isNumber) {
        std::fputs("usage: quellory-screenshot WINDOW-ID FILE\n", stderr);
        return 2;
    }
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(window);
    if (shot.isNull() || !shot.save(arguments[2], "PNG")) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(arguments[2]));
        return 1;
    }
    return 0;
}
