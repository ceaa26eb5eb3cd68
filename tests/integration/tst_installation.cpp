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

// The build folder installed the way a package build installs it: prefix /usr under DESTDIR.
class TestInstallation : public QObject {
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_prefix;

    QString installed(const QString &relative) const { return m_prefix + '/' + relative; }

private slots:
    void initTestCase() {
        QVERIFY(m_root.isValid());
        m_prefix = m_root.path() + "/usr";
        // The tests' own build folder sits one level below the project's.
        const QString buildDir =
            QDir::cleanPath(qEnvironmentVariable("QUELLORY_TEST_BIN_DIR") + "/..");
        QVERIFY(QFileInfo::exists(buildDir + "/CMakeCache.txt"));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DESTDIR", m_root.path());
        const auto [ok, report] =
            run("cmake", {"--install", buildDir, "--prefix", "/usr"}, environment);
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
        QCOMPARE(readFrom(entry, "^Exec=(.*)$"), "quellory");
        QVERIFY(QFileInfo(installed("bin/quellory")).isExecutable());
        QCOMPARE(readFrom(entry, "^Icon=(.*)$"), appID);
        QCOMPARE(readFrom(metainfo, "<id>([^<]*)</id>"), appID);
        QCOMPARE(readFrom(metainfo, "<binary>([^<]*)</binary>"), "quellory");
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
