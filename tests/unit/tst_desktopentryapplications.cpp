#include "DesktopEntryComparison.h"
#include "fakes/WriteFile.h"
#include "IconThemeComparison.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/freedesktop/RegularFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

// What the catalog's comparison with GIO cannot show: link loops, files GIO must not be given,
// the utilities, which GIO does not tell apart, and the files that fuzzing found the readers of
// desktop entries and of icon themes to read otherwise than GKeyFile.
class DesktopEntryApplicationsTest : public QObject {
    Q_OBJECT

private slots:
    void foldersListEveryEntryByDesktopFileIdRoundLinkLoops() {
        QTemporaryDir dir;
        const QString folder = dir.filePath("applications");
        // A shown application entry in the folder, with one more line.
        const auto write = [&folder](const QString &name, const QByteArray &line) {
            return writeFile(folder + '/' + name,
                             "[Desktop Entry]\nType=Application\nName=N\n" + line + '\n');
        };
        // The system's settings and tools are its utilities, its terminals not.
        QVERIFY(write("top.desktop", "Categories=GTK;Settings;") &&
                write("wine/Programs/Sub Menu/y.desktop", "Categories=System;TerminalEmulator;") &&
                write("../elsewhere/linked.desktop", "Categories=GTK\\;System;") &&
                write("tool.desktop", "Categories=System"));
        QVERIFY(QFile::link(dir.filePath("elsewhere"), folder + "/kde"));
        QVERIFY(QFile::link(folder + "/wine", folder + "/wine/Programs/loop"));
        // Files named like entries that are none still take their ID; some would hang GIO.
        QVERIFY(write("huge.desktop", '#' + QByteArray(1100 * 1024, 'x')) &&
                write("binary.desktop", QByteArray::fromHex("7f454c460201ff00fe9a1bc3")) &&
                QDir().mkpath(folder + "/folder.desktop") &&
                QFile::link(folder + "/nowhere", folder + "/dangling.desktop"));
        QCOMPARE(mkfifo(QFile::encodeName(folder + "/fifo.desktop").constData(), 0600), 0);

        DesktopEntryApplications::Environment environment;
        environment.dataHome = dir.path();
        environment.dataDirs = dir.filePath("none");
        const DesktopEntryApplications applications(environment);
        const auto entries = applications.contentsOfFolder(folder);
        const DesktopEntryApplications unlisted(environment); // reads files it never listed

        QVERIFY(entries);
        QStringList listed;
        for (const FolderEntry &entry : *entries) {
            const auto bundle = applications.openBundle(entry);
            const auto again = unlisted.openBundle(entry);
            QVERIFY(bundle && again && bundle->bundleIdentifier + ".desktop" == entry.name &&
                    again->bundleIdentifier == bundle->bundleIdentifier &&
                    again->isOffered == bundle->isOffered);
            listed << entry.name + " " + QDir(folder).relativeFilePath(entry.path) +
                          (bundle->isOffered ? "" : " not offered") +
                          (bundle->isUtility ? " utility" : "");
        }
        listed.sort();
        QCOMPARE(listed, (QStringList{
                             "binary.desktop binary.desktop not offered",
                             "dangling.desktop dangling.desktop not offered",
                             "fifo.desktop fifo.desktop not offered",
                             "folder.desktop folder.desktop not offered",
                             "huge.desktop huge.desktop not offered",
                             "kde-linked.desktop kde/linked.desktop",
                             "tool.desktop tool.desktop utility", "top.desktop top.desktop utility",
                             "wine-Programs-Sub Menu-y.desktop wine/Programs/Sub Menu/y.desktop"}));
    }

    void readsTheFilesFoundByFuzzingAsGKeyFile_data() {
        QTest::addColumn<QString>("path");
        const QDir folder(qEnvironmentVariable("QUELLORY_SOURCE_DIR") +
                          "/tests/unit/data/key-files");
        for (const QString &name : folder.entryList(QDir::Files))
            QTest::newRow(qPrintable(name)) << folder.filePath(name);
        QVERIFY2(!folder.isEmpty(), qPrintable(folder.path()));
    }
    void readsTheFilesFoundByFuzzingAsGKeyFile() {
        QFETCH(QString, path);
        const auto data = RegularFile::read(path);
        QVERIFY(data);
        QTemporaryDir themes;
        const std::string differences =
            path.endsWith(".theme")
                ? IconThemeComparison::differences(data->toStdString(), themes.path().toStdString())
                : DesktopEntryComparison::differences(data->toStdString());
        QCOMPARE(QString::fromStdString(differences), QString());
    }
};

QTEST_GUILESS_MAIN(DesktopEntryApplicationsTest)
#include "tst_desktopentryapplications.moc"
