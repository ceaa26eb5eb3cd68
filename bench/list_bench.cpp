// Times the application list with 1000 installed applications and a few running ones, on the
// offscreen platform: typing one more character into the search, clearing the search, an
// application that ends or starts, each until the list is recomposed and repainted. The baseline
// is repainting the same list with nothing changed. Prints medians over several rounds.

#include "BenchFigures.h"
#include "fakes/SimulatedSession.h"
#include "views/AppsListActions.h"
#include "views/AppsListView.h"

#include <chrono>
#include <QApplication>
#include <QListView>
#include <vector>

namespace {

constexpr int installedCount = 1000;
constexpr int runningCount = 5;
constexpr int rounds = 30;
const QStringList typed{"s", "st", "stu", "stud"};

using Clock = std::chrono::steady_clock;

// Milliseconds that a change and the repaint it needs take.
template <typename Change> double timeRepaintAfter(QWidget &view, Change change) {
    const auto start = Clock::now();
    change();
    view.repaint();
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
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

} // namespace

int main(int argc, char *argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);

    SimulatedSession session;
    for (int index = 0; index < installedCount; ++index)
        session.install(idOf(index), nameOf(index), index % 40 == 0);
    if (!session.loadCatalog())
        return 1;
    // Every row finds its icon cached, as after the catalog's prefetch.
    session.pool.waitForDone();
    QCoreApplication::processEvents();
    std::vector<std::shared_ptr<FakeRunningApplication>> running;
    for (int index = 0; index < runningCount; ++index)
        running.push_back(session.launch(idOf(index * 97), nameOf(index * 97), 100 + index));

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
    std::vector<double> typeOneChar;
    std::vector<double> clearSearch;
    std::vector<double> appEnds;
    std::vector<double> appStarts;
    qint32 nextPid = 1000;
    for (int round = 0; round < rounds; ++round) {
        baseline.push_back(timeRepaintAfter(view, [] {}));
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
    BenchFigures::print("type_one_char_ms", BenchFigures::median(typeOneChar), "ms");
    BenchFigures::print("clear_search_ms", BenchFigures::median(clearSearch), "ms");
    BenchFigures::print("update_one_running_app_ms", BenchFigures::median(appEnds), "ms");
    BenchFigures::print("launch_one_app_ms", BenchFigures::median(appStarts), "ms");
    return 0;
}
