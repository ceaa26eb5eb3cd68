#include "fakes/FifoReaderGuard.h"
#include "fakes/WriteFile.h"
#include "platform/linux/freedesktop/IconThemeProvider.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

namespace {

constexpr int iconSize = 32;

QByteArray pngOf(QColor color) {
    QImage image(16, 16, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

} // namespace

// Icon themes and desktop entries as anyone may leave them in the user's folders: what they
// state must neither overflow the size arithmetic nor block the thread that reads them.
class IconThemeTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QStringList m_fifos;

    QString icons() const { return m_root.filePath("icons"); }
    QString entry(const QString &name, const QString &icon) {
        const QString path = m_root.filePath("applications/" + name + ".desktop");
        if (!writeFile(path,
                       "[Desktop Entry]\nType=Application\nName=N\nIcon=" + icon.toUtf8() + '\n'))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }
    QString fifo(const QString &path) {
        if (!QDir().mkpath(QFileInfo(path).path()) ||
            mkfifo(QFile::encodeName(path).constData(), 0600) != 0)
            qFatal("cannot make the FIFO %s", qPrintable(path));
        m_fifos.append(path);
        return path;
    }
    // The icon, or a null image when the lookup did not end in time.
    QImage iconWithin(const IconThemeProvider &provider, const QString &entry) {
        QImage icon;
        const bool hasEnded =
            endsWithin(5000, m_fifos, [&] { icon = provider.iconForFile(entry, iconSize); });
        return hasEnded ? icon : QImage();
    }

private slots:
    void initTestCase() {
        QVERIFY(m_root.isValid());
        QVERIFY(writeFile(icons() + "/hicolor/index.theme",
                          "[Icon Theme]\nName=Hicolor\nDirectories=32x32/apps\n"
                          "[32x32/apps]\nSize=32\nType=Fixed\n"));
        QVERIFY(writeFile(icons() + "/hicolor/32x32/apps/application-x-executable.png",
                          pngOf(Qt::green)));
        QVERIFY(writeFile(icons() + "/piped/index.theme",
                          "[Icon Theme]\nName=Piped\nDirectories=apps\n[apps]\nSize=32\n"));
    }

    void extremeIndexValuesNeitherOverflowNorHideIcons() {
        // Directories that state values at the ends of an int, none made for the size asked,
        // so that every one is measured, and a sane one.
        const QList<std::pair<QByteArray, QByteArray>> directories{
            {"negative-threshold", "Type=Threshold\nSize=1\nThreshold=-2147483648"},
            {"huge-fixed", "Type=Fixed\nSize=2147483647\nScale=2147483647"},
            {"huge-scalable",
             "Type=Scalable\nSize=1\nMinSize=2147483647\nMaxSize=2147483647\nScale=2"},
            {"sane", "Type=Fixed\nSize=16"},
            {"huge-threshold", "Type=Threshold\nSize=2147483647\nThreshold=2147483647\nScale=2"},
        };
        QByteArray index = "[Icon Theme]\nName=Extreme\nDirectories=";
        QByteArray sections;
        for (const auto &[name, keys] : directories) {
            index += name + ',';
            sections += '[' + name + "]\n" + keys + '\n';
            QVERIFY(writeFile(icons() + "/extreme/" + name + "/app.png", pngOf(Qt::red)));
        }
        QVERIFY(writeFile(icons() + "/extreme/index.theme", index + '\n' + sections));

        const IconThemeProvider provider("extreme", {icons()});
        const QImage icon = iconWithin(provider, entry("extreme", "app"));
        QCOMPARE(icon.size(), QSize(iconSize, iconSize));
        QVERIFY2(icon.pixelColor(16, 16) != QColor(Qt::green), "not the generic icon");
    }

    void specialFilesNeverBlockTheLookup_data() {
        QTest::addColumn<QString>("theme");
        QTest::addColumn<QString>("entry");
        fifo(icons() + "/piped/apps/piped-icon.png");
        fifo(icons() + "/fifo-index/index.theme");
        QTest::newRow("Icon= names a FIFO")
            << "hicolor" << entry("absolute", fifo(m_root.filePath("icon.png")));
        QTest::newRow("Icon= names a device") << "hicolor" << entry("device", "/dev/zero");
        QTest::newRow("the theme's icon is a FIFO") << "piped" << entry("themed", "piped-icon");
        QTest::newRow("the theme's index is a FIFO") << "fifo-index" << entry("indexed", "x");
        QTest::newRow("the entry is a FIFO")
            << "hicolor" << fifo(m_root.filePath("applications/fifo.desktop"));
    }
    void specialFilesNeverBlockTheLookup() {
        QFETCH(QString, theme);
        QFETCH(QString, entry);
        const IconThemeProvider provider(theme, {icons()});
        const QImage icon = iconWithin(provider, entry);
        QVERIFY2(!icon.isNull(), "the lookup ended");
        QCOMPARE(icon.pixelColor(16, 16), QColor(Qt::green)); // the generic icon
    }
};

QTEST_MAIN(IconThemeTest)
#include "tst_icontheme.moc"
