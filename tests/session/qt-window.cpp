// A Qt 6 program with one window, for the tests: on Wayland its app_id is the desktop file name
// given as the first argument. With a second argument N it closes its window after N ms and
// runs on without one, as a program that hides in a tray does.
#include <QApplication>
#include <QLabel>
#include <QTimer>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1)
        QGuiApplication::setDesktopFileName(arguments.at(1));
    QLabel window(QStringLiteral("Qt window"));
    window.setWindowTitle(QStringLiteral("Qt window"));
    window.show();
    if (arguments.size() > 2)
        QTimer::singleShot(arguments.at(2).toInt(), &window, &QWidget::close);
    // It quits when asked to close while it shows its window, as a plain window does.
    QObject::connect(&application, &QGuiApplication::lastWindowClosed, &application, [&] {
        if (arguments.size() <= 2)
            QApplication::quit();
    });
    return QApplication::exec();
}
