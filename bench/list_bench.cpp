// Times the application list with 1000 installed applications and 30 running ones, on the
// offscreen platform: typing one more character into the search (the sections recomposed alone,
// and recomposed and repainted), clearing the search, an application that ends or starts, each
// until the list is recomposed and repainted. The baseline is repainting the same list with
// nothing changed. Then starts the whole window, a bare Qt window and a bare one with a line of
// text and a themed icon the same way, in fresh processes, until each has painted, with the
// memory each has used by then and the share of it that application icons hold. Prints medians
// over several rounds.

#include "app/QuelloryApp.h"
#include "BenchFigures.h"
#include "fakes/FakeLoginItemService.h"
#include "fakes/FakeUpdater.h"
#include "fakes/SimulatedSession.h"
#include "models/AppSettings.h"
#include "models/EventLoopScheduler.h"
#include "platform/linux/freedesktop/IconThemeProvider.h"
#include "views/AppsListActions.h"
#include "views/AppsListView.h"
#include "views/MainView.h"
#include "views/ViewEnvironment.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QIcon>
#include <QListView>
#include <QPainter>
#include <QProcess>
#include <QTimer>
#include <vector>

namespace {

constexpr int installedCount = 1000;
constexpr int runningCount = 30;
constexpr int rounds = 30;
constexpr int startRounds = 11;
// How long after its first paint a started window is left to do what it put off until then.
constexpr int settleMs = 500;
const QString firstPaintArgument = QStringLiteral("--first-paint");
const QStringList typed{"s", "st", "stu", "stud"};

using Clock = std::chrono::steady_clock;

// Milliseconds that a change takes, without the repaint it needs.
template <typename Change> double timeComposing(Change change) {
    const auto start = Clock::now();
    change();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Milliseconds that a change and the repaint it needs take.
template <typename Change> double timeRepaintAfter(QWidget &view, Change change) {
    return timeComposing([&] {
        change();
        view.repaint();
    });
}

QString nameOf(int index) {
    static const QStringList adjectives{"Quick",  "Simple", "Open",  "Smart", "Tiny",  "Free",
                                        "Bright", "Deep",   "Swift", "Pixel", "Sound", "Photo",
                                        "Video",  "Text",   "Code",  "Disk",  "Net",   "Mail",
                                        "Chat",   "Game",   "Music", "Image", "Font",  "Color"};
    static const QStringList nouns{"Editor",  "Viewer",  "Player",   "Terminal", "Browser",
                                   "Studio",  "Manager", "Recorder", "Mixer",    "Reader",
                                   "Monitor", "Scanner", "Notes",    "Console",  "Client",
                                   "Tracker", "Builder", "Launcher", "Planner",  "Toolkit"};
    return adjectives[index % adjectives.size()] + ' ' +
           nouns[(index / adjectives.size()) % nouns.size()] + ' ' + QString::number(index);
}

QString idOf(int index) {
    return QStringLiteral("org.example.App%1").arg(index);
}

void install(SimulatedSession &session) {
    for (int index = 0; index < installedCount; ++index)
        session.install(idOf(index), nameOf(index), index % 40 == 0);
}

// The memory the process has held at most, from the kernel's own count.
double peakMegabytes() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').front().toDouble() / 1024;
    }
    return -1;
}

// The bytes that the cached icons of the installed applications hold.
double iconMegabytes(const SimulatedSession &session) {
    qsizetype bytes = 0;
    for (int index = 0; index < installedCount; ++index)
        bytes += session.icons.cachedIcon(SimulatedSession::pathOf(idOf(index))).sizeInBytes();
    return double(bytes) / (1024 * 1024);
}

// Reports once the window's first paint is done and the event loop is back: the line the
// parent process waits for, with the peak memory until then, the milliseconds the process
// spent on setting up a simulation, which the parent leaves out, and the icons' memory. A
// second line gives the peak memory once the work put off until after the paint has run.
class FirstPaintReporter final : public QObject {
public:
    explicit FirstPaintReporter(QWidget &window, double simulationMilliseconds = 0,
                                std::function<double()> iconMegabytes = {})
        : m_simulationMilliseconds(simulationMilliseconds),
          m_iconMegabytes(std::move(iconMegabytes)) {
        window.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        if (event->type() == QEvent::Paint && !m_hasPainted) {
            m_hasPainted = true;
            QTimer::singleShot(0, [this] {
                std::printf("painted %f %f %f\n", peakMegabytes(), m_simulationMilliseconds,
                            m_iconMegabytes ? m_iconMegabytes() : 0.0);
                std::fflush(stdout);
            });
            QTimer::singleShot(settleMs, [] {
                std::printf("settled %f\n", peakMegabytes());
                std::fflush(stdout);
                QCoreApplication::exit(0);
            });
        }
        return QObject::eventFilter(watched, event);
    }

private:
    double m_simulationMilliseconds;
    std::function<double()> m_iconMegabytes;
    bool m_hasPainted = false;
};

// The whole window as the program starts it, over a simulated session: 1000 installed
// applications that the catalog has yet to load, 30 running ones.
int paintWholeWindow() {
    QuelloryApp::useDesktopIcons(IconThemeProvider::desktopThemeName());
    QElapsedTimer simulation;
    simulation.start();
    SimulatedSession session;
    install(session);
    for (int index = 0; index < runningCount; ++index)
        session.launch(idOf(index * 31), nameOf(index * 31), 100 + index);
    const double simulationMilliseconds = double(simulation.nsecsElapsed()) / 1e6;
    FakeLoginItemService loginItems;
    AppSettings settings(session.defaults, loginItems);
    EventLoopScheduler scheduler;
    AppsListActions actions(session.workspace, session.usage, session.bundles, scheduler,
                            session.log);
    FakeUpdater updater;
    QuelloryApp app(ViewEnvironment{settings, session.monitor, session.catalog, session.usage,
                                    session.icons, actions, session.bundles},
                    session.workspace, scheduler, updater);
    app.start();
    // Watching from here on, it reports before what the window waits to start after its paint.
    FirstPaintReporter reporter(app.mainWindow(), simulationMilliseconds,
                                [&session] { return iconMegabytes(session); });
    return QApplication::exec();
}

// A window with nothing in it, of the same size: what any Qt program pays to appear.
int paintBareWindow() {
    QWidget window;
    window.resize(QuelloryApp::defaultSize);
    FirstPaintReporter reporter(window);
    window.show();
    return QApplication::exec();
}

// One line of text and the toolbar's icon from the desktop's theme, in a window of the same
// size: what any program that shows text and a themed icon pays to appear.
class TextWindow final : public QWidget {
protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        MainView::settingsIcon().paint(&painter, QRect(8, 8, 24, 24));
        painter.drawText(QPoint(40, 26), QStringLiteral("Search apps"));
    }
};

int paintTextWindow() {
    QIcon::setThemeName(IconThemeProvider::desktopThemeName());
    QIcon::setFallbackThemeName(QStringLiteral("Adwaita"));
    TextWindow window;
    window.resize(QuelloryApp::defaultSize);
    FirstPaintReporter reporter(window);
    window.show();
    return QApplication::exec();
}

struct Start {
    double milliseconds = -1;
    double peakMegabytes = -1;
    double iconMegabytes = -1;
    double settledPeakMegabytes = -1;
};

// Starts this program again to paint one kind of window; times it from the start of the
// process to the report of its first paint.
Start timeStart(const QString &kind) {
    QProcess child;
    QElapsedTimer timer;
    timer.start();
    child.start(QCoreApplication::applicationFilePath(), {firstPaintArgument, kind});
    if (!child.waitForReadyRead(30000))
        return {};
    const double elapsed = double(timer.nsecsElapsed()) / 1e6;
    const QList<QByteArray> fields = child.readLine().simplified().split(' ');
    Start start;
    if (fields.value(0) == "painted") {
        start.milliseconds = elapsed - fields.value(2).toDouble();
        start.peakMegabytes = fields.value(1).toDouble();
        start.iconMegabytes = fields.value(3).toDouble();
    }
    if (child.canReadLine() || child.waitForReadyRead(30000))
        start.settledPeakMegabytes = child.readLine().simplified().split(' ').value(1).toDouble();
    child.waitForFinished(30000);
    return start;
}

void printStarts() {
    const QStringList kinds{"window", "bare", "text"};
    std::vector<std::vector<double>> milliseconds(kinds.size()), memory(kinds.size());
    std::vector<double> icons, settledMemory;
    for (int round = 0; round < startRounds; ++round) {
        for (qsizetype kind = 0; kind < kinds.size(); ++kind) {
            const Start start = timeStart(kinds[kind]);
            milliseconds[size_t(kind)].push_back(start.milliseconds);
            memory[size_t(kind)].push_back(start.peakMegabytes);
            if (kind == 0) {
                icons.push_back(start.iconMegabytes);
                settledMemory.push_back(start.settledPeakMegabytes);
            }
        }
    }
    const double window = BenchFigures::median(milliseconds[0]);
    const double text = BenchFigures::median(milliseconds[2]);
    const double windowMemory = BenchFigures::median(memory[0]);
    const double textMemory = BenchFigures::median(memory[2]);
    const double iconMemory = BenchFigures::median(icons);
    BenchFigures::print("startup_to_first_paint_ms", window, "ms");
    BenchFigures::print("bare_qt_first_paint_ms", BenchFigures::median(milliseconds[1]), "ms");
    BenchFigures::print("bare_qt_text_first_paint_ms", text, "ms");
    BenchFigures::print("first_paint_over_text_window", window / text, "x");
    BenchFigures::print("startup_peak_memory_mb", windowMemory, "MB");
    BenchFigures::print("bare_qt_peak_memory_mb", BenchFigures::median(memory[1]), "MB");
    BenchFigures::print("bare_qt_text_peak_memory_mb", textMemory, "MB");
    BenchFigures::print("startup_icon_memory_mb", iconMemory, "MB");
    BenchFigures::print("startup_settled_peak_memory_mb", BenchFigures::median(settledMemory),
                        "MB");
    BenchFigures::print("peak_memory_over_text_window_and_icons",
                        windowMemory / (textMemory + iconMemory), "x");
}

} // namespace

int main(int argc, char *argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (argc == 3 && argv[1] == firstPaintArgument) {
        const QString kind = QString::fromLocal8Bit(argv[2]);
        return kind == u"window" ? paintWholeWindow()
               : kind == u"text" ? paintTextWindow()
                                 : paintBareWindow();
    }

    SimulatedSession session;
    install(session);
    if (!session.loadCatalog())
        return 1;
    // Every row finds its icon cached, as after the catalog's prefetch.
    session.pool.waitForDone();
    QCoreApplication::processEvents();
    std::vector<std::shared_ptr<FakeRunningApplication>> running;
    for (int index = 0; index < runningCount; ++index)
        running.push_back(session.launch(idOf(index * 31), nameOf(index * 31), 100 + index));

    AppsListActions actions(session.workspace, session.usage, session.bundles, session.time,
                            session.log);
    AppsListView view(session.monitor, session.catalog, session.usage, session.icons, actions,
                      session.bundles);
    view.resize(460, 560);
    view.show();
    if (!QTest::qWaitForWindowExposed(&view))
        return 1;
    QCoreApplication::processEvents();

    std::vector<double> baseline;
    std::vector<double> compose;
    std::vector<double> typeOneChar;
    std::vector<double> clearSearch;
    std::vector<double> appEnds;
    std::vector<double> appStarts;
    qint32 nextPid = 1000;
    for (int round = 0; round < rounds; ++round) {
        baseline.push_back(timeRepaintAfter(view, [] {}));
        for (const QString &text : typed)
            compose.push_back(timeComposing([&] { view.setSearchText(text); }));
        view.setSearchText(QString());
        view.repaint();
        for (const QString &text : typed)
            typeOneChar.push_back(timeRepaintAfter(view, [&] { view.setSearchText(text); }));
        clearSearch.push_back(timeRepaintAfter(view, [&] { view.setSearchText(QString()); }));
        QCoreApplication::processEvents();

        // An installed application ends and moves to "Not Running"; then it starts again, and
        // its launch counts as a use, which ranks the catalog anew.
        const auto &app = running[size_t(round) % running.size()];
        const QString id = *app->identifier;
        const QString name = *app->name;
        appEnds.push_back(timeRepaintAfter(view, [&] { session.end(app); }));
        appStarts.push_back(timeRepaintAfter(view, [&] {
            running[size_t(round) % running.size()] = session.launch(id, name, nextPid++);
        }));
        QCoreApplication::processEvents();
    }

    BenchFigures::print("baseline_repaint_ms", BenchFigures::median(baseline), "ms");
    BenchFigures::print("compose_ms", BenchFigures::median(compose), "ms");
    BenchFigures::print("keystroke_to_paint_ms", BenchFigures::median(typeOneChar), "ms");
    BenchFigures::print("clear_search_ms", BenchFigures::median(clearSearch), "ms");
    BenchFigures::print("update_one_running_app_ms", BenchFigures::median(appEnds), "ms");
    BenchFigures::print("launch_one_app_ms", BenchFigures::median(appStarts), "ms");
    printStarts();
    return 0;
}
