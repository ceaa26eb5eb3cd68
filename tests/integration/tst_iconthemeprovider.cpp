#include "platform/linux/IconThemeProvider.h"

#include <algorithm>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QtConcurrent/qtconcurrentmap.h>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString applications = QStringLiteral("/usr/share/applications");
const QString hicolorApps = QStringLiteral("/usr/share/icons/hicolor/scalable/apps");
const QColor wanted(Qt::green);
const QColor unwanted(Qt::red);

bool writeFile(const QString &path, const QByteArray &contents) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

bool writePng(const QString &path, const QSize &size, const QColor &colour) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image.save(path, "PNG");
}

bool writeSvg(const QString &path, const QColor &colour) {
    return writeFile(path, QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"16\" "
                                          "height=\"16\"><rect width=\"16\" height=\"16\" "
                                          "fill=\"%1\"/></svg>")
                               .arg(colour.name())
                               .toUtf8());
}

// How the file should look at the size: SVG drawn by Qt's own image plugin rather than by the
// provider's code, raster images scaled smoothly. All the reference files are square.
QImage reference(const QString &file, int size) {
    QImageReader reader(file);
    if (reader.format() == "svg")
        reader.setScaledSize(QSize(size, size));
    const QImage image =
        reader.read().scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// Equal but for rounding: the provider and the image plugins scale and antialias alike, not
// always to the last bit.
bool looksAlike(const QImage &a, const QImage &b) {
    if (a.size() != b.size() || a.isNull())
        return false;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            const int difference =
                std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                          std::abs(qBlue(p) - qBlue(q)), std::abs(qAlpha(p) - qAlpha(q))});
            if (difference > 8)
                return false;
        }
    return true;
}

int visiblePixels(const QImage &image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += qAlpha(image.pixel(x, y)) > 0;
    return count;
}

QByteArray entryWithIcon(const QString &icon) {
    return "[Desktop Entry]\nType=Application\nName=Test\nExec=true\nIcon=" + icon.toUtf8() + "\n";
}

} // namespace

class IconThemeProviderTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_scratch.isValid());
        qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome()));
        QVERIFY(writeThemes());
    }

    void searchFoldersFollowTheStandard() {
        const QStringList folders = IconThemeProvider::iconFolders();
        QCOMPARE(folders.first(), dataHome() + "/icons");
        QVERIFY(folders.contains(QDir::homePath() + "/.icons"));
        QVERIFY(folders.contains("/usr/share/icons"));
        QCOMPARE(folders.last(), "/usr/share/pixmaps");
    }

    void desktopThemeIsAnInstalledTheme() {
        const QString name = IconThemeProvider::desktopThemeName();
        QVERIFY(!name.isEmpty());
        const QStringList folders = IconThemeProvider::iconFolders();
        QVERIFY2(std::any_of(folders.begin(), folders.end(),
                             [&](const QString &folder) {
                                 return QFile::exists(folder + '/' + name + "/index.theme");
                             }),
                 qPrintable(name));
    }

    void realEntriesGetTheirOwnIcons_data() {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("expectedFile");
        // Only hicolor has these; Adwaita is searched first and lacks them.
        QTest::newRow("mousepad, scalable hicolor icon")
            << "org.xfce.mousepad.desktop" << hicolorApps + "/org.xfce.mousepad.svg";
        QTest::newRow("xterm, mini.xterm in hicolor before the 32px XPM in pixmaps")
            << "debian-xterm.desktop" << hicolorApps + "/mini.xterm.svg";
        QTest::newRow("tint2") << "tint2.desktop" << hicolorApps + "/tint2.svg";
        QTest::newRow("openbox, a loose 48px PNG in pixmaps") << "openbox.desktop"
                                                              << "/usr/share/pixmaps/openbox.png";
        QTest::newRow("python, an absolute XPM path") << "python3.11.desktop"
                                                      << "/usr/share/pixmaps/python3.11.xpm";
    }
    void realEntriesGetTheirOwnIcons() {
        QFETCH(QString, entry);
        QFETCH(QString, expectedFile);
        const QString path = applications + '/' + entry;
        if (!QFile::exists(path))
            QSKIP(qPrintable(path + " is not installed"));
        const IconThemeProvider provider(QStringLiteral("Adwaita"));

        const QImage icon = provider.iconForFile(path, 32);

        QCOMPARE(icon.size(), QSize(32, 32));
        QVERIFY(looksAlike(icon, reference(expectedFile, 32)));
        QVERIFY(icon != provider.symbolImage("app.fill", 32));
        QVERIFY(visiblePixels(icon) > 100);
    }

    void otherSizesAreRenderedAtThatSize() {
        const IconThemeProvider provider(QStringLiteral("Adwaita"));
        const QImage icon = provider.iconForFile(applications + "/org.xfce.mousepad.desktop", 64);
        QVERIFY(looksAlike(icon, reference(hicolorApps + "/org.xfce.mousepad.svg", 64)));
    }

    void withoutAnIconTheGenericApplicationIcon_data() {
        QTest::addColumn<QString>("path");
        const QString scratch = m_scratch.path();
        QTest::newRow("unknown icon name") << entry("unknown", entryWithIcon("no-such-icon-here"));
        QTest::newRow("no Icon key") << entry("nokey", "[Desktop Entry]\nName=X\n");
        QTest::newRow("empty Icon") << entry("empty-icon", entryWithIcon(""));
        QTest::newRow("Icon names a broken image")
            << entry("broken", entryWithIcon(scratch + "/broken.png"));
        QTest::newRow("Icon names a folder") << entry("folder-icon", entryWithIcon("/usr/share"));
        QTest::newRow("not a key file") << entry("garbage", QByteArray(4096, '\x01'));
        QTest::newRow("empty file") << entry("empty", QByteArray());
        QTest::newRow("missing file") << scratch + "/missing.desktop";
        QTest::newRow("a folder") << applications;
        QTest::newRow("empty path") << QString();
    }
    void withoutAnIconTheGenericApplicationIcon() {
        QFETCH(QString, path);
        QVERIFY(writeFile(m_scratch.filePath("broken.png"), "\x89PNG\r\n\x1a\n not really"));
        const IconThemeProvider provider(QStringLiteral("Adwaita"));

        const QImage icon = provider.iconForFile(path, 32);

        QVERIFY(looksAlike(
            icon, reference("/usr/share/icons/Adwaita/32x32/mimetypes/application-x-executable.png",
                            32)));
        QCOMPARE(icon, provider.symbolImage("app.fill", 32));
    }

    void aPlaceholderWhenTheThemeHasNoGenericIcon() {
        const IconThemeProvider provider(QStringLiteral("hicolor"));
        const QImage generic = provider.symbolImage("app.fill", 32);
        QCOMPARE(generic.size(), QSize(32, 32));
        QVERIFY(visiblePixels(generic) > 100);
        QCOMPARE(provider.iconForFile(entry("unknown", entryWithIcon("no-such-icon")), 32),
                 generic);
        QVERIFY(provider.symbolImage("power", 32).isNull());
    }

    void anAbsoluteIconPathIsUsedAsItIs() {
        const QString image = m_scratch.filePath("wide.png");
        QVERIFY(writePng(image, QSize(64, 32), wanted));
        const IconThemeProvider provider(QStringLiteral("Adwaita"));

        const QImage icon = provider.iconForFile(entry("absolute", entryWithIcon(image)), 32);

        // Scaled to fit with its shape kept, centred on transparency.
        QCOMPARE(icon.size(), QSize(32, 32));
        QCOMPARE(icon.pixelColor(16, 16), wanted);
        QCOMPARE(icon.pixelColor(16, 2).alpha(), 0);
        QCOMPARE(icon.pixelColor(16, 29).alpha(), 0);
    }

    void themeLookupPicksTheNearestSizeInTheNearestTheme_data() {
        QTest::addColumn<QString>("iconName");
        QTest::newRow("the exact size among 16, 32 and 48") << "exact";
        QTest::newRow("24 is nearer than 16 and 48") << "nearest";
        QTest::newRow("a threshold of 2 around 30 takes 32") << "threshold";
        QTest::newRow("a scalable SVG up to 24 is nearer than 48") << "scalable";
        QTest::newRow("a fitting size before a nearer scale-2 one") << "fits-before-scaled";
        QTest::newRow("16 at scale 2 is as near as it gets") << "scaled";
        QTest::newRow("32 at scale 2 is too large") << "double-scale";
        QTest::newRow("a threshold of 6 around 40 is nearer than 28") << "near-threshold";
        QTest::newRow("a scalable SVG up to 24 does not fit 32") << "too-small";
        QTest::newRow("the theme's own size before a parent's exact one") << "shadowed";
        QTest::newRow("from the parent theme") << "inherited";
        QTest::newRow("a loose icon in the user's icons folder") << "loose";
        QTest::newRow("an extension in the name is dropped") << "exact.png";
    }
    void themeLookupPicksTheNearestSizeInTheNearestTheme() {
        QFETCH(QString, iconName);
        const IconThemeProvider provider(QStringLiteral("QuelloryTest"));

        const QImage icon = provider.iconForFile(entry(iconName, entryWithIcon(iconName)), 32);

        QCOMPARE(icon.size(), QSize(32, 32));
        QCOMPARE(icon.pixelColor(16, 16), wanted);
    }

    void hicolorIsSearchedLastWhateverTheTheme_data() {
        QTest::addColumn<QString>("theme");
        QTest::newRow("a theme that inherits no hicolor") << "QuelloryTest";
        QTest::newRow("a theme that is not installed") << "NoSuchTheme";
        QTest::newRow("themes that inherit from each other") << "LoopA";
    }
    void hicolorIsSearchedLastWhateverTheTheme() {
        QFETCH(QString, theme);
        const IconThemeProvider provider(theme);

        const QImage icon = provider.iconForFile(applications + "/org.xfce.mousepad.desktop", 32);

        QVERIFY(looksAlike(icon, reference(hicolorApps + "/org.xfce.mousepad.svg", 32)));
    }

    void aThemeNameIsNeverAPath() {
        const IconThemeProvider provider(QStringLiteral("LoopA/../QuelloryTest"));
        const QImage icon = provider.iconForFile(entry("exact", entryWithIcon("exact")), 32);
        QCOMPARE(icon, provider.symbolImage("app.fill", 32));
    }

    void lookupsFromSeveralThreadsAgree() {
        QStringList entries;
        for (const QFileInfo &info : QDir(applications).entryInfoList({"*.desktop"}, QDir::Files))
            entries << info.filePath();
        entries << entries << entries << entries;
        const IconThemeProvider sequential(QStringLiteral("Adwaita"));
        const IconThemeProvider concurrent(QStringLiteral("Adwaita"));
        QThreadPool pool;
        pool.setMaxThreadCount(8);

        const QList<QImage> together = QtConcurrent::blockingMapped<QList<QImage>>(
            &pool, entries,
            [&concurrent](const QString &path) { return concurrent.iconForFile(path, 32); });

        QCOMPARE(together.size(), entries.size());
        for (qsizetype i = 0; i < entries.size(); ++i)
            QCOMPARE(together[i], sequential.iconForFile(entries[i], 32));
    }

private:
    QString dataHome() const { return m_scratch.filePath("data"); }
    QString icons() const { return dataHome() + "/icons"; }

    QString entry(const QString &name, const QByteArray &contents) {
        const QString path = m_scratch.filePath("entries/" + name + ".desktop");
        if (!writeFile(path, contents))
            qWarning("could not write %s", qPrintable(path));
        return path;
    }

    // Two small themes in the user's data folder. Every icon the lookup should pick is green,
    // every other one red.
    bool writeThemes() {
        const QString theme = icons() + "/QuelloryTest";
        const QString parent = icons() + "/QuelloryParent";
        bool written = writeFile(theme + "/index.theme", R"([Icon Theme]
Name=Quellory Test
Inherits=QuelloryParent
Directories=small/apps,16x16/apps,16x16@2/apps,24x24/apps,28x28/apps,30x30/apps,32x32@2/apps,32x32/apps,40x40/apps,48x48/apps,scalable/apps

[small/apps]
Size=16
MinSize=8
MaxSize=24
Type=Scalable

[16x16/apps]
Size=16
Type=Fixed

[16x16@2/apps]
Size=16
Scale=2
Type=Fixed

[24x24/apps]
Size=24
Type=Fixed

[28x28/apps]
Size=28
Type=Fixed

[30x30/apps]
Size=30
Type=Threshold

[32x32@2/apps]
Size=32
Scale=2
Type=Fixed

[32x32/apps]
Size=32
Type=Fixed

[40x40/apps]
Size=40
Threshold=6
Type=Threshold

[48x48/apps]
Size=48
Type=Fixed

[scalable/apps]
Size=16
MinSize=8
MaxSize=24
Type=Scalable
)");
        written &= writeFile(parent + "/index.theme", R"([Icon Theme]
Name=Quellory Parent
Directories=32x32/apps

[32x32/apps]
Size=32
Type=Fixed
)");
        written &= writeFile(icons() + "/LoopA/index.theme",
                             "[Icon Theme]\nName=A\nInherits=LoopB\nDirectories=\n");
        written &= writeFile(icons() + "/LoopB/index.theme",
                             "[Icon Theme]\nName=B\nInherits=LoopA\nDirectories=\n");
        const auto png = [&](const QString &folder, const QString &name, int edge,
                             const QColor &colour) {
            written &= writePng(folder + '/' + name + ".png", QSize(edge, edge), colour);
        };
        png(theme + "/16x16/apps", "exact", 16, unwanted);
        png(theme + "/32x32/apps", "exact", 32, wanted);
        png(theme + "/48x48/apps", "exact", 48, unwanted);
        png(theme + "/16x16/apps", "nearest", 16, unwanted);
        png(theme + "/24x24/apps", "nearest", 24, wanted);
        png(theme + "/48x48/apps", "nearest", 48, unwanted);
        png(theme + "/30x30/apps", "threshold", 30, wanted);
        png(theme + "/48x48/apps", "threshold", 48, unwanted);
        png(theme + "/48x48/apps", "scalable", 48, unwanted);
        written &= writeSvg(theme + "/scalable/apps/scalable.svg", wanted);
        png(theme + "/16x16@2/apps", "fits-before-scaled", 32, unwanted);
        png(theme + "/32x32/apps", "fits-before-scaled", 32, wanted);
        png(theme + "/16x16@2/apps", "scaled", 32, wanted);
        png(theme + "/24x24/apps", "scaled", 24, unwanted);
        png(theme + "/32x32@2/apps", "double-scale", 64, unwanted);
        png(theme + "/24x24/apps", "double-scale", 24, wanted);
        png(theme + "/28x28/apps", "near-threshold", 28, unwanted);
        png(theme + "/40x40/apps", "near-threshold", 40, wanted);
        written &= writeSvg(theme + "/small/apps/too-small.svg", unwanted);
        png(theme + "/32x32/apps", "too-small", 32, wanted);
        png(theme + "/48x48/apps", "shadowed", 48, wanted);
        png(parent + "/32x32/apps", "shadowed", 32, unwanted);
        png(parent + "/32x32/apps", "inherited", 32, wanted);
        png(icons(), "loose", 32, wanted);
        return written;
    }

    QTemporaryDir m_scratch;
};

QTEST_MAIN(IconThemeProviderTest)
#include "tst_iconthemeprovider.moc"
