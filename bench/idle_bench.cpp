// Counts how often the whole program wakes up while nothing changes, in a real X session with
// openbox: its window shown with the search field focused, then its window closed to the tray.
// Beside it, in the same session and over the same seconds, a bare Qt window started the same
// way shows what Qt itself costs. A wake-up is a voluntary context switch of any of a process's
// threads; write calls are those to the X server and to the event loop's own wake-up file.
// Usage: idle_bench [PROGRAM], by default the program built beside it.

#include "BenchFigures.h"
#include "session/XSession.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <thread>

namespace {

constexpr int windowWaitSeconds = 15; // past start-up and the search field's blinking
constexpr int hideWaitSeconds = 3;
constexpr int measureSeconds = 20;
const QString bareArgument = QStringLiteral("--bare-window");

struct Counters {
    double wakeUps = 0;
    double writes = 0;
};

// Switches by thread: a pool's thread that ends meanwhile must not count as negative.
struct Sample {
    std::map<QString, double> switches;
    double writes = 0;
};

double fieldOf(const QByteArray &text, const QByteArray &name) {
    const qsizetype at = text.indexOf('\n' + name + ':');
    return at < 0 ? 0 : text.mid(at + name.size() + 2).split('\n').front().trimmed().toDouble();
}

QByteArray readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? '\n' + file.readAll() : QByteArray();
}

Sample sampleOf(qint64 processIdentifier) {
    const QString folder = QStringLiteral("/proc/%1").arg(processIdentifier);
    Sample sample;
    const QStringList threads =
        QDir(folder + QStringLiteral("/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads)
        sample.switches[thread] =
            fieldOf(readAll(folder + "/task/" + thread + "/status"), "voluntary_ctxt_switches");
    sample.writes = fieldOf(readAll(folder + QStringLiteral("/io")), "syscw");
    return sample;
}

Counters difference(const Sample &before, const Sample &after) {
    Counters counters{0, after.writes - before.writes};
    for (const auto &[thread, switches] : after.switches) {
        const auto earlier = before.switches.find(thread);
        counters.wakeUps += switches - (earlier == before.switches.end() ? 0 : earlier->second);
    }
    return counters;
}

// Per minute, for each process, over the same seconds.
std::vector<Counters> measure(const std::vector<qint64> &processes) {
    std::vector<Sample> before;
    for (const qint64 process : processes)
        before.push_back(sampleOf(process));
    std::this_thread::sleep_for(std::chrono::seconds(measureSeconds));
    std::vector<Counters> rates;
    for (size_t i = 0; i < processes.size(); ++i) {
        const Counters counted = difference(before[i], sampleOf(processes[i]));
        const double perMinute = 60.0 / measureSeconds;
        rates.push_back({counted.wakeUps * perMinute, counted.writes * perMinute});
    }
    return rates;
}

void print(const char *name, const Counters &rate) {
    BenchFigures::print((std::string(name) + "_wakeups_per_min").c_str(), rate.wakeUps, "wakeups");
    BenchFigures::print((std::string(name) + "_writes_per_min").c_str(), rate.writes, "writes");
}

int showBareWindow(int argc, char **argv) {
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("Bare"));
    window.setWindowTitle(QStringLiteral("Bare"));
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 2 && argv[1] == bareArgument)
        return showBareWindow(argc, argv);
    QCoreApplication application(argc, argv);
    QTemporaryDir scratch;
    XSession session;
    if (!scratch.isValid() || !session.isReady() || !QDir(scratch.path()).mkdir("runtime") ||
        !QFile::setPermissions(scratch.filePath("runtime"),
                               QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        std::fprintf(stderr, "Xvfb and openbox did not start\n");
        return 1;
    }
    // A home of its own, so that the program is not the user's running instance.
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("HOME"), scratch.path());
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), scratch.filePath("runtime"));
    for (const char *name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        environment.insert(QString::fromLatin1(name), scratch.filePath(name));
    // Another build of the program may be named, to compare.
    const QString programPath =
        argc == 2 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(QUELLORY_PROGRAM);
    const qint64 program = session.start(programPath, {}, environment);
    const qint64 bare =
        session.start(QCoreApplication::applicationFilePath(), {bareArgument}, environment);
    if (program <= 0 || bare <= 0) {
        std::fprintf(stderr, "the program or the bare window did not start\n");
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::seconds(windowWaitSeconds));
    const auto shown = measure({program, bare});
    session.run(QStringLiteral("wmctrl"), {QStringLiteral("-c"), QStringLiteral("Quellory")});
    std::this_thread::sleep_for(std::chrono::seconds(hideWaitSeconds));
    const auto hidden = measure({program});
    print("window_shown", shown[0]);
    print("window_hidden", hidden[0]);
    print("baseline_bare_qt_window", shown[1]);
    BenchFigures::print("seconds_measured", measureSeconds, "s");
    session.run(QStringLiteral("wmctrl"), {QStringLiteral("-c"), QStringLiteral("Bare")});
    return 0;
}
