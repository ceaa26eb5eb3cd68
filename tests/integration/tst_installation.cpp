#include <memory>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <utility>

namespace {

const QString appID = "app.quellory.Quellory";
const QList<int> iconSizes{16, 24, 32, 48, 64, 128, 256};

QString pngIcon(int size) {
    return QString("share/icons/hicolor/%1x%1/apps/%2.png").arg(size).arg(appID);
}

// Everything a package of the program holds, relative to its prefix.
QStringList expectedFiles() {
    QStringList files{"bin/quellory", "share/applications/" + appID + ".desktop",
                      "share/metainfo/" + appID + ".metainfo.xml",
                      "share/icons/hicolor/scalable/apps/" + appID + ".svg",
                      "share/doc/quellory/copyright",
                      // Where GNOME Shell looks for the extensions installed for every user.
                      "share/gnome-shell/extensions/quellory@quellory.app/extension.js",
                      "share/gnome-shell/extensions/quellory@quellory.app/metadata.json"};
    for (const int size : iconSizes)
        files << pngIcon(size);
    files.sort();
    return files;
}

// The first match of the pattern's group in the file.
QString readFrom(const QString &path, const QString &pattern) {
    QFile file(path);
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    return file.open(QIODevice::ReadOnly)
               ? expression.match(QString::fromUtf8(file.readAll())).captured(1).trimmed()
               : QString();
}

// Runs a program to its end: whether it succeeded, and its output with its errors for the report.
std::pair<bool, QByteArray>
run(const QString &program, const QStringList &arguments,
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool finished = process.waitForFinished(60000);
    return {finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
            process.readAll()};
}

} // namespace

// The build folder installed the way a package build installs it: its prefix under DESTDIR.
class TestInstallation : public QObject {
    Q_OBJECT

    QTemporaryDir m_root;
    // Where the build installs the program, and that place under the temporary root.
    QString m_configuredPrefix;
    QString m_prefix;

    QString installed(const QString &relative) const { return m_prefix + '/' + relative; }

private slots:
    void initTestCase() {
        QVERIFY(m_root.isValid());
        // The tests' own build folder sits one level below the project's.
        const QString buildDir =
            QDir::cleanPath(qEnvironmentVariable("QUELLORY_TEST_BIN_DIR") + "/..");
        m_configuredPrefix =
            readFrom(buildDir + "/CMakeCache.txt", "^CMAKE_INSTALL_PREFIX:PATH=(.*)$");
        QVERIFY(QDir::isAbsolutePath(m_configuredPrefix));
        m_prefix = m_root.path() + m_configuredPrefix;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DESTDIR", m_root.path());
        const auto [ok, report] = run("cmake", {"--install", buildDir}, environment);
        QVERIFY2(ok, report.constData());
    }

    void installsEveryFileAndNothingElse() {
        QStringList files;
        QDirIterator it(m_root.path(), QDir::Files | QDir::Hidden | QDir::System,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            files << QDir(m_prefix).relativeFilePath(it.next());
        files.sort();
        QCOMPARE(files, expectedFiles());
    }

    void drawsEachIconAtItsSize_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("size");
        for (const int size : iconSizes)
            QTest::addRow("%dx%d", size, size) << pngIcon(size) << size;
        QTest::addRow("scalable") << "share/icons/hicolor/scalable/apps/" + appID + ".svg" << 48;
    }

    void drawsEachIconAtItsSize() {
        QFETCH(QString, file);
        QFETCH(int, size);
        QImageReader reader(installed(file));
        // A PNG must already have its size; only the scalable icon is drawn to one.
        if (reader.format() == "svg")
            reader.setScaledSize(QSize(size, size));
        const QImage image = reader.read().convertToFormat(QImage::Format_ARGB32);
        QVERIFY2(!image.isNull(), qPrintable(reader.errorString()));
        QCOMPARE(image.size(), QSize(size, size));
        // The rounded square fills the middle and leaves the corners clear.
        QCOMPARE(qAlpha(image.pixel(size / 2, size / 2)), 255);
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
    }

    // The launcher, the software centre and the shell find the program through these names.
    void desktopEntryAndMetainfoNameTheInstalledFiles() {
        const QString entry = installed("share/applications/" + appID + ".desktop");
        const QString metainfo = installed("share/metainfo/" + appID + ".metainfo.xml");
        // KWin's window list goes only to a program that its entry names by its absolute path.
        QCOMPARE(readFrom(entry, "^Exec=(.*)$"), m_configuredPrefix + "/bin/quellory");
        QVERIFY(QFileInfo(installed("bin/quellory")).isExecutable());
        QCOMPARE(readFrom(entry, "^X-KDE-Wayland-Interfaces=(.*)$"),
                 "org_kde_plasma_window_management");
        QCOMPARE(readFrom(entry, "^Icon=(.*)$"), appID);
        QCOMPARE(readFrom(metainfo, "<id>([^<]*)</id>"), appID);
        QCOMPARE(readFrom(metainfo, "<binary>([^<]*)</binary>"), "quellory");
    }

    // A terminal asks the program what it is without a display; with none to show its window
    // on, it says so in one line and fails rather than aborting.
    void answersTheCommandLineWithoutADisplay() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(name);
        const auto runProgram = [&](const QStringList &arguments) {
            auto process = std::make_unique<QProcess>();
            process->setProcessEnvironment(environment);
            process->start(installed("bin/quellory"), arguments);
            process->waitForFinished(60000);
            return process;
        };
        const auto help = runProgram({"--help"});
        QCOMPARE(help->exitStatus(), QProcess::NormalExit);
        QCOMPARE(help->exitCode(), 0);
        QVERIFY(help->readAllStandardOutput().startsWith("Usage: "));
        const auto version = runProgram({"--version"});
        QCOMPARE(version->exitCode(), 0);
        QVERIFY(QRegularExpression("^Quellory \\d+\\.\\d+(\\.\\d+)?\n$")
                    .match(QString::fromUtf8(version->readAllStandardOutput()))
                    .hasMatch());
        const auto noDisplay = runProgram({});
        QCOMPARE(noDisplay->exitStatus(), QProcess::NormalExit);
        QCOMPARE(noDisplay->exitCode(), 1);
        const QByteArray error = noDisplay->readAllStandardError();
        QCOMPARE(error.count('\n'), 1);
        QVERIFY2(error.startsWith("Quellory: cannot open its window"), error.constData());
    }

    // Software centres read the installed tree as a whole: the metainfo with the desktop entry
    // it launches.
    void appstreamAcceptsTheInstalledTree() {
        const auto [valid, report] =
            run("appstreamcli", {"validate-tree", "--no-net", m_root.path()});
        QVERIFY2(valid, report.constData());
        const QRegularExpression remark("^\\s*[EWI]: ", QRegularExpression::MultilineOption);
        QVERIFY2(!remark.match(QString::fromUtf8(report)).hasMatch(), report.constData());
    }
};

QTEST_GUILESS_MAIN(TestInstallation)
#include "tst_installation.moc"
