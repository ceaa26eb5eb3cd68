#include "models/AppCatalog.h"
#include "platform/linux/DesktopEntryApplications.h"

#include <optional>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <string>
#include <sys/stat.h>

namespace {

using Text = std::optional<QString>;

// What g_get_language_names() gives for LANGUAGE=sr_RS@latin.
const QStringList serbianLatin{"sr_RS@latin", "sr_RS", "sr@latin", "sr", "C"};

bool writeFile(const QString &path, const QByteArray &content) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

bool makeExecutable(const QString &path) {
    QFile file(path);
    return writeFile(path, "#!/bin/sh\n") &&
           file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeOther);
}

// A desktop application entry whose program is installed, followed by more lines.
QByteArray application(const QByteArray &lines) {
    return "[Desktop Entry]\nType=Application\nExec=quellory-tool %U\n" + lines;
}

// The user's folder is <root>/home/.local/share/applications, the system's <root>/first and
// <root>/second; <root>/bin holds the installed program "quellory-tool".
class Tree {
public:
    Tree() { makeExecutable(path("bin/quellory-tool")); }

    QString path(const QString &relative) const { return m_dir.filePath(relative); }
    QString userFolder() const { return path("home/.local/share/applications"); }
    QString firstFolder() const { return path("first/applications"); }
    QString secondFolder() const { return path("second/applications"); }

    DesktopEntryApplications::Environment environment() const {
        DesktopEntryApplications::Environment environment;
        environment.home = path("home");
        environment.dataDirs = path("first") + ':' + path("second");
        environment.currentDesktop = "Frost:Glade";
        environment.searchPath = path("bin").toStdString();
        environment.languages = serbianLatin;
        return environment;
    }

private:
    QTemporaryDir m_dir;
};

QStringList describe(const QList<ScanFolder> &folders) {
    QStringList result;
    for (const ScanFolder &folder : folders)
        result << folder.path + (folder.isSystem ? " system" : "");
    return result;
}

QStringList describe(const QList<FolderEntry> &entries, const QString &folder) {
    QStringList result;
    for (const FolderEntry &entry : entries)
        result << entry.name + " " + QDir(folder).relativeFilePath(entry.path);
    result.sort();
    return result;
}

QStringList describe(const QList<AppCatalog::RawEntry> &entries, const Tree &tree) {
    QStringList result;
    for (const auto &entry : entries)
        result << entry.bundleID + " " + entry.name + " " +
                      QDir(tree.path("")).relativeFilePath(entry.path);
    return result;
}

} // namespace

class DesktopEntryApplicationsTest : public QObject {
    Q_OBJECT

private slots:
    void scanFoldersFollowXdgDataDirectories_data() {
        QTest::addColumn<QString>("dataHome");
        QTest::addColumn<QString>("dataDirs");
        QTest::addColumn<QStringList>("folders");

        QTest::newRow("defaults") << QString() << QString()
                                  << QStringList{"/home/ada/.local/share/applications",
                                                 "/usr/local/share/applications",
                                                 "/usr/share/applications system"};
        QTest::newRow("set, duplicates dropped")
            << "/data/home"
            << "/opt/share:/usr/share/:/usr/share:/data/home"
            << QStringList{"/data/home/applications", "/opt/share/applications",
                           "/usr/share/applications system"};
        QTest::newRow("empty and relative entries ignored")
            << QString() << "relative::/usr/share/gnome:/usr/shared"
            << QStringList{"/home/ada/.local/share/applications",
                           "/usr/share/gnome/applications system", "/usr/shared/applications"};
    }

    void scanFoldersFollowXdgDataDirectories() {
        QFETCH(QString, dataHome);
        QFETCH(QString, dataDirs);
        QFETCH(QStringList, folders);
        DesktopEntryApplications::Environment environment;
        environment.home = "/home/ada";
        environment.dataHome = dataHome;
        environment.dataDirs = dataDirs;

        QCOMPARE(describe(DesktopEntryApplications(environment).scanFolders()), folders);
    }

    void entriesAreReadAsGioReadsThem_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isOffered");
        QTest::addColumn<Text>("displayName");
        QTest::addColumn<Text>("bundleName");
        QTest::addColumn<bool>("isUtility");

        // Translations: the best of lang_COUNTRY@MODIFIER, lang_COUNTRY, lang@MODIFIER, lang.
        const QByteArray allNames = "Name=Plain\nName[sr]=A\nName[sr@latin]=B\nName[sr_RS]=C\n";
        QTest::newRow("lang_COUNTRY@MODIFIER") << application(allNames + "Name[sr_RS@latin]=D\n")
                                               << true << Text("D") << Text("Plain") << false;
        QTest::newRow("lang_COUNTRY")
            << application(allNames) << true << Text("C") << Text("Plain") << false;
        QTest::newRow("lang@MODIFIER") << application("Name=Plain\nName[sr]=A\nName[sr@latin]=B\n")
                                       << true << Text("B") << Text("Plain") << false;
        QTest::newRow("lang") << application("Name=Plain\nName[sr]=A\nName[de]=X\n") << true
                              << Text("A") << Text("Plain") << false;
        QTest::newRow("untranslated") << application("Name=Plain\nName[de]=X\nName[SR]=Y\n") << true
                                      << Text("Plain") << Text("Plain") << false;
        QTest::newRow("translation not UTF-8 passed over")
            << application("Name=Plain\nName[sr_RS]=\xff\nName[sr]=A\n") << true << Text("A")
            << Text("Plain") << false;
        QTest::newRow("translation only")
            << application("Name[sr]=A\n") << true << Text("A") << Text() << false;
        QTest::newRow("no name") << application("") << true << Text() << Text() << false;
        QTest::newRow("empty name")
            << application("Name=\n") << true << Text("") << Text("") << false;
        QTest::newRow("name not UTF-8")
            << application("Name=caf\xe9\n") << true << Text() << Text() << false;

        // Syntax.
        QTest::newRow("escapes") << application("Name=\\sa\\tb\\nc\\rd\\\\e\n") << true
                                 << Text(" a\tb\nc\rd\\e") << Text(" a\tb\nc\rd\\e") << false;
        QTest::newRow("unknown escape kept") << application("Name=a\\xb\\;c\n") << true
                                             << Text("a\\xb\\;c") << Text("a\\xb\\;c") << false;
        QTest::newRow("final backslash dropped")
            << application("Name=end\\\n") << true << Text("end") << Text("end") << false;
        QTest::newRow("blanks around =") << application("Name \t=  Spaced  \n") << true
                                         << Text("Spaced  ") << Text("Spaced  ") << false;
        QTest::newRow("comments and blank lines")
            << QByteArray("# top\n\n[Desktop Entry]\n  # indented\n\t\n#Name=Commented\n"
                          "Type=Application\nName=Real\n")
            << true << Text("Real") << Text("Real") << false;
        QTest::newRow("other groups ignored")
            << application("Name=Main\n[Desktop Action new]\nName=Action\nType=Link\n") << true
            << Text("Main") << Text("Main") << false;
        QTest::newRow("repeated group merged")
            << application("Name=Before\n[Other]\nNoDisplay=true\n[Desktop Entry]\nName=After\n")
            << true << Text("After") << Text("After") << false;
        QTest::newRow("repeated key, last wins") << application("Name=First\nName=Second\n") << true
                                                 << Text("Second") << Text("Second") << false;
        QTest::newRow("CRLF line ends")
            << QByteArray("[Desktop Entry]\r\nType=Application\r\nName=Win\r\n") << true
            << Text("Win") << Text("Win") << false;
        QTest::newRow("no final newline")
            << QByteArray("[Desktop Entry]\nType=Application\nName=End") << true << Text("End")
            << Text("End") << false;
        QTest::newRow("blanks after group") << QByteArray("[Desktop Entry] \t\nType=Application\n")
                                            << true << Text() << Text() << false;
        QTest::newRow("Encoding=UTF-8")
            << application("Encoding=utf-8\nName=E\n") << true << Text("E") << Text("E") << false;
        QTest::newRow("unread value not UTF-8")
            << application("Name=N\nComment=caf\xe9\n") << true << Text("N") << Text("N") << false;

        // What the menus leave out.
        QTest::newRow("Type=Link") << QByteArray("[Desktop Entry]\nType=Link\nName=L\n") << false
                                   << Text("L") << Text("L") << false;
        QTest::newRow("no Type") << QByteArray("[Desktop Entry]\nName=T\n") << false << Text("T")
                                 << Text("T") << false;
        QTest::newRow("Type not UTF-8")
            << QByteArray("[Desktop Entry]\nType=Applic\xe4tion\nName=T\n") << false << Text("T")
            << Text("T") << false;
        QTest::newRow("Type with a blank after")
            << QByteArray("[Desktop Entry]\nType=Application \nName=T\n") << false << Text("T")
            << Text("T") << false;
        QTest::newRow("NoDisplay=true")
            << application("Name=N\nNoDisplay=true\n") << false << Text("N") << Text("N") << false;
        QTest::newRow("NoDisplay=1 ")
            << application("Name=N\nNoDisplay=1 \n") << false << Text("N") << Text("N") << false;
        QTest::newRow("NoDisplay=True is no boolean")
            << application("Name=N\nNoDisplay=True\n") << true << Text("N") << Text("N") << false;
        QTest::newRow("Hidden=true")
            << application("Name=N\nHidden=true\n") << false << Text("N") << Text("N") << false;
        QTest::newRow("Hidden=false")
            << application("Name=N\nHidden=false\n") << true << Text("N") << Text("N") << false;
        QTest::newRow("OnlyShowIn this desktop") << application("Name=N\nOnlyShowIn=Moss;Glade;\n")
                                                 << true << Text("N") << Text("N") << false;
        QTest::newRow("OnlyShowIn another desktop")
            << application("Name=N\nOnlyShowIn=Moss\n") << false << Text("N") << Text("N") << false;
        QTest::newRow("OnlyShowIn nothing")
            << application("Name=N\nOnlyShowIn=\n") << false << Text("N") << Text("N") << false;
        QTest::newRow("in both lists, OnlyShowIn first")
            << application("Name=N\nOnlyShowIn=Glade;\nNotShowIn=Glade;\n") << true << Text("N")
            << Text("N") << false;
        QTest::newRow("OnlyShowIn unreadable, ignored")
            << application("Name=N\nOnlyShowIn=M\\oss;\n") << true << Text("N") << Text("N")
            << false;
        QTest::newRow("NotShowIn this desktop") << application("Name=N\nNotShowIn=Glade;\n")
                                                << false << Text("N") << Text("N") << false;
        QTest::newRow("first desktop decides, not shown")
            << application("Name=N\nOnlyShowIn=Glade;\nNotShowIn=Frost;\n") << false << Text("N")
            << Text("N") << false;
        QTest::newRow("first desktop decides, shown")
            << application("Name=N\nOnlyShowIn=Frost;\nNotShowIn=Glade;\n") << true << Text("N")
            << Text("N") << false;
        QTest::newRow("TryExec installed") << application("Name=N\nTryExec=quellory-tool\n") << true
                                           << Text("N") << Text("N") << false;
        QTest::newRow("TryExec missing") << application("Name=N\nTryExec=quellory-missing\n")
                                         << false << Text("N") << Text("N") << false;
        QTest::newRow("TryExec empty")
            << application("Name=N\nTryExec=\n") << true << Text("N") << Text("N") << false;
        QTest::newRow("Exec program missing")
            << QByteArray("[Desktop Entry]\nType=Application\nName=N\nExec=quellory-missing\n")
            << false << Text("N") << Text("N") << false;
        QTest::newRow("Exec quoted")
            << QByteArray("[Desktop Entry]\nType=Application\nName=N\nExec='quellory-tool' %f\n")
            << true << Text("N") << Text("N") << false;
        QTest::newRow("Exec unbalanced quote")
            << QByteArray("[Desktop Entry]\nType=Application\nName=N\nExec='quellory-tool %f\n")
            << false << Text("N") << Text("N") << false;
        QTest::newRow("Exec blank")
            << QByteArray("[Desktop Entry]\nType=Application\nName=N\nExec=\\s\n") << false
            << Text("N") << Text("N") << false;

        // Files that GKeyFile refuses to load.
        const auto refused = [](const char *name, const QByteArray &content) {
            QTest::newRow(name) << content << false << Text() << Text() << false;
        };
        refused("line that means nothing", application("Name=N\nnonsense\n"));
        refused("key before any group", "Name=N\n[Desktop Entry]\nType=Application\n");
        refused("other group first", "[Other]\n[Desktop Entry]\nType=Application\nName=N\n");
        refused("empty file", "");
        refused("comments only", "# nothing\n");
        refused("blank before locale", application("Name [sr]=N\n"));
        refused("bad locale", application("Name[sr!]=N\n"));
        refused("text after locale", application("Name[sr]x=N\n"));
        refused("bracket in key", application("Na]me=N\n"));
        refused("empty key", application("=N\n"));
        refused("unclosed group", application("[Other\n"));
        refused("text after group", "[Desktop Entry] x\nType=Application\n");
        refused("empty group name", application("[]\n"));
        refused("control character in group", application("[Ot\x01her]\n"));
        refused("foreign encoding", "[Desktop Entry]\nEncoding=ISO-8859-1\nType=Application\n");
        refused("NUL byte", application("Name=N") + '\0' + "x\n");

        // The system's utilities.
        QTest::newRow("System") << application("Categories=GTK;System;\n") << true << Text()
                                << Text() << true;
        QTest::newRow("Settings") << application("Categories=Settings\n") << true << Text()
                                  << Text() << true;
        QTest::newRow("terminal emulator") << application("Categories=System;TerminalEmulator;\n")
                                           << true << Text() << Text() << false;
        QTest::newRow("escaped separator")
            << application("Categories=GTK\\;System;\n") << true << Text() << Text() << false;
    }

    void entriesAreReadAsGioReadsThem() {
        QFETCH(QByteArray, content);
        QFETCH(bool, isOffered);
        QFETCH(Text, displayName);
        QFETCH(Text, bundleName);
        QFETCH(bool, isUtility);
        Tree tree;
        const QString path = tree.firstFolder() + "/org.example.Tool.desktop";
        QVERIFY(writeFile(path, content));

        const auto bundle = DesktopEntryApplications(tree.environment())
                                .openBundle({"org.example.Tool.desktop", path});

        QVERIFY(bundle);
        QCOMPARE(bundle->bundleIdentifier, "org.example.Tool");
        QCOMPARE(bundle->isOffered, isOffered);
        QCOMPARE(bundle->displayName, displayName);
        QCOMPARE(bundle->bundleName, bundleName);
        QCOMPARE(bundle->isUtility, isUtility);
    }

    void programsAreLookedUpAsGlibDoes_data() {
        QTest::addColumn<std::optional<std::string>>("searchPath");
        QTest::addColumn<QString>("tryExec");
        QTest::addColumn<bool>("isOffered");

        const std::optional<std::string> bins = "<root>/missing:<root>/bin:<root>/more";
        QTest::newRow("in the first directory") << bins << "quellory-tool" << true;
        QTest::newRow("in a later directory") << bins << "quellory-later" << true;
        QTest::newRow("nowhere") << bins << "quellory-nowhere" << false;
        QTest::newRow("not executable") << bins << "quellory-plain" << false;
        QTest::newRow("a directory") << bins << "quellory-folder" << false;
        QTest::newRow("not executable here, executable later")
            << bins << "quellory-shadowed" << true;
        QTest::newRow("a link to a program") << bins << "quellory-link" << true;
        QTest::newRow("after two missing directories")
            << std::optional<std::string>("<root>/missing:<root>/gone:<root>/more")
            << "quellory-later" << true;
        QTest::newRow("a directory twice, then the program")
            << std::optional<std::string>("<root>/bin:<root>/bin:<root>/more") << "quellory-later"
            << true;
        QTest::newRow("absolute path") << bins << "<root>/more/quellory-later" << true;
        QTest::newRow("absolute, not executable") << bins << "<root>/bin/quellory-plain" << false;
        QTest::newRow("PATH unset, /bin searched") << std::optional<std::string>() << "sh" << true;
        QTest::newRow("PATH unset, not here")
            << std::optional<std::string>() << "quellory-tool" << false;
    }

    void programsAreLookedUpAsGlibDoes() {
        QFETCH(std::optional<std::string>, searchPath);
        QFETCH(QString, tryExec);
        QFETCH(bool, isOffered);
        Tree tree;
        QVERIFY(makeExecutable(tree.path("more/quellory-later")));
        QVERIFY(makeExecutable(tree.path("more/quellory-shadowed")));
        QVERIFY(writeFile(tree.path("bin/quellory-shadowed"), "data"));
        QVERIFY(QFile::link(tree.path("more/quellory-later"), tree.path("bin/quellory-link")));
        QVERIFY(writeFile(tree.path("bin/quellory-plain"), "data"));
        QVERIFY(QDir().mkpath(tree.path("more/quellory-folder")));
        const QString root = tree.path("");
        auto environment = tree.environment();
        if (searchPath)
            searchPath = QString::fromStdString(*searchPath).replace("<root>", root).toStdString();
        environment.searchPath = searchPath;
        const QString path = tree.firstFolder() + "/t.desktop";
        QVERIFY(writeFile(path, "[Desktop Entry]\nType=Application\nTryExec=" +
                                    tryExec.replace("<root>", root).toUtf8() + '\n'));

        const auto bundle = DesktopEntryApplications(environment).openBundle({"t.desktop", path});

        QVERIFY(bundle);
        QCOMPARE(bundle->isOffered, isOffered);
    }

    void unusualFilesClaimTheirIdWithoutBeingOffered() {
        Tree tree;
        const QString folder = tree.firstFolder();
        const DesktopEntryApplications applications(tree.environment());
        QVERIFY(writeFile(folder + "/huge.desktop",
                          application("Name=Huge\n") + '#' + QByteArray(1100 * 1024, 'x') + '\n'));
        QVERIFY(writeFile(folder + "/binary.desktop", QByteArray::fromHex("7f454c46020101000000"
                                                                          "ff00fe9a1bc3")));
        QVERIFY(QDir().mkpath(folder + "/folder.desktop"));
        QCOMPARE(mkfifo(QFile::encodeName(folder + "/fifo.desktop").constData(), 0600), 0);
        QVERIFY(QFile::link(folder + "/nowhere", folder + "/dangling.desktop"));
        const auto listed = applications.contentsOfFolder(folder);
        QVERIFY(listed);
        QCOMPARE(listed->size(), 5);
        // Read after the folder's listing, and by a reader that never listed it.
        const DesktopEntryApplications unlisted(tree.environment());

        for (const FolderEntry &entry : *listed) {
            for (const DesktopEntryApplications *reader : {&applications, &unlisted}) {
                const auto bundle = reader->openBundle(entry);
                QVERIFY2(bundle && bundle->bundleIdentifier + ".desktop" == entry.name &&
                             !bundle->isOffered,
                         qPrintable(entry.name));
            }
        }
    }

    void foldersListSubfoldersByDesktopFileId() {
        Tree tree;
        const QString folder = tree.firstFolder();
        QVERIFY(writeFile(folder + "/top.desktop", application("")));
        QVERIFY(writeFile(folder + "/.hidden.desktop", application("")));
        QVERIFY(writeFile(folder + "/mimeinfo.cache", ""));
        QVERIFY(writeFile(folder + "/wine/Programs/x.desktop", application("")));
        QVERIFY(writeFile(folder + "/wine/Programs/Sub Menu/y.desktop", application("")));
        QVERIFY(writeFile(folder + "/entry.desktop/inner.desktop", application("")));
        QVERIFY(writeFile(tree.path("elsewhere/linked.desktop"), application("")));
        QVERIFY(QFile::link(tree.path("elsewhere"), folder + "/kde"));
        QVERIFY(QFile::link(folder + "/wine", folder + "/wine/Programs/loop"));
        QVERIFY(writeFile(folder + "/a-b.desktop", application("")));
        QVERIFY(writeFile(folder + "/a/b.desktop", application("")));

        const auto entries = DesktopEntryApplications(tree.environment()).contentsOfFolder(folder);

        QVERIFY(entries);
        const QStringList listed = describe(*entries, folder);
        QCOMPARE(listed.size(), 8);
        for (const char *expected :
             {"top.desktop top.desktop", ".hidden.desktop .hidden.desktop",
              "mimeinfo.cache mimeinfo.cache", "wine-Programs-x.desktop wine/Programs/x.desktop",
              "wine-Programs-Sub Menu-y.desktop wine/Programs/Sub Menu/y.desktop",
              "entry.desktop entry.desktop", "kde-linked.desktop kde/linked.desktop"})
            QVERIFY2(listed.contains(expected), qPrintable(listed.join(", ")));
        QCOMPARE(listed.filter("a-b.desktop ").size(), 1);
    }

    void unreadableFoldersHaveNoContents() {
        Tree tree;
        QVERIFY(writeFile(tree.path("file"), ""));
        const DesktopEntryApplications applications(tree.environment());

        QVERIFY(!applications.contentsOfFolder(tree.path("missing")));
        QVERIFY(!applications.contentsOfFolder(tree.path("file")));
    }

    void pathsForIdentifiersFollowFolderOrder() {
        Tree tree;
        QVERIFY(writeFile(tree.userFolder() + "/both.desktop", application("")));
        QVERIFY(writeFile(tree.firstFolder() + "/both.desktop", application("")));
        QVERIFY(writeFile(tree.firstFolder() + "/only-system.desktop", application("")));
        QVERIFY(writeFile(tree.secondFolder() + "/wine/Programs/x-y.desktop", application("")));
        QVERIFY(writeFile(tree.path("first/outside.desktop"), application("")));
        const DesktopEntryApplications applications(tree.environment());

        QCOMPARE(applications.pathForBundleIdentifier("both"), tree.userFolder() + "/both.desktop");
        QCOMPARE(applications.pathForBundleIdentifier("only-system"),
                 tree.firstFolder() + "/only-system.desktop");
        QCOMPARE(applications.pathForBundleIdentifier("wine-Programs-x-y"),
                 tree.secondFolder() + "/wine/Programs/x-y.desktop");
        QCOMPARE(applications.pathForBundleIdentifier("absent"), Text());
        QCOMPARE(applications.pathForBundleIdentifier("..-outside"), Text());
        QCOMPARE(applications.pathForBundleIdentifier("../outside"), Text());
        QCOMPARE(applications.pathForBundleIdentifier(""), Text());
    }

    void catalogHonoursUserOverrides() {
        Tree tree;
        QVERIFY(writeFile(tree.userFolder() + "/hidden.desktop", application("Hidden=true\n")));
        QVERIFY(writeFile(tree.firstFolder() + "/hidden.desktop", application("Name=System\n")));
        QVERIFY(writeFile(tree.userFolder() + "/broken.desktop", "garbage\n"));
        QVERIFY(writeFile(tree.firstFolder() + "/broken.desktop", application("Name=System\n")));
        QVERIFY(writeFile(tree.userFolder() + "/mine.desktop", application("Name=Mine\n")));
        QVERIFY(writeFile(tree.secondFolder() + "/mine.desktop", application("Name=System\n")));
        QVERIFY(writeFile(tree.secondFolder() + "/wine/Programs/x.desktop", application("")));

        const auto entries =
            AppCatalog::scanInstalledApps(DesktopEntryApplications(tree.environment()));

        QCOMPARE(describe(entries, tree),
                 (QStringList{"mine Mine home/.local/share/applications/mine.desktop",
                              "wine-Programs-x wine-Programs-x second/applications/"
                              "wine/Programs/x.desktop"}));
    }

    void environmentIsReadWhenCreated() {
        Tree tree;
        QVERIFY(writeFile(tree.path("data/applications/t.desktop"),
                          application("Name=Plain\nName[de]=Deutsch\nOnlyShowIn=Moss;\n")));
        qputenv("XDG_DATA_HOME", tree.path("home").toUtf8());
        qputenv("XDG_DATA_DIRS", tree.path("data").toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "Frost:Moss");
        qputenv("LANGUAGE", "de");
        qputenv("PATH", tree.path("bin").toUtf8());
        const DesktopEntryApplications applications;
        qputenv("XDG_DATA_DIRS", "/usr/share");
        qputenv("LANGUAGE", "fr");

        const auto entries = AppCatalog::scanInstalledApps(applications);

        QCOMPARE(describe(entries, tree), QStringList{"t Deutsch data/applications/t.desktop"});
    }
};

QTEST_GUILESS_MAIN(DesktopEntryApplicationsTest)

#include "tst_desktopentryapplications.moc"
