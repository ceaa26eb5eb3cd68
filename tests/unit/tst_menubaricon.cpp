#include <QImage>
#include <QImageReader>
#include <QTest>

// The tray glyph is painted over in one colour, which works only while the artwork
// is black on transparent and stays legible at the tray's sizes.
class TestMenuBarIcon : public QObject {
    Q_OBJECT

private slots:
    void isBlackOnTransparentAndLegible_data() {
        QTest::addColumn<int>("size");
        QTest::newRow("18 px") << 18;
        QTest::newRow("22 px") << 22;
        QTest::newRow("36 px, doubled pixels") << 36;
    }

    void isBlackOnTransparentAndLegible() {
        QFETCH(int, size);
        QImageReader reader(qEnvironmentVariable("QUELLORY_SOURCE_DIR") +
                            QStringLiteral("/resources/MenuBarIcon.svg"));
        QCOMPARE(reader.size().width(), reader.size().height());
        reader.setScaledSize(QSize(size, size));
        const QImage image = reader.read().convertToFormat(QImage::Format_ARGB32);
        QVERIFY2(!image.isNull(), qPrintable(reader.errorString()));

        qreal ink = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) > 0)
                    QVERIFY2(qRed(pixel) == 0 && qGreen(pixel) == 0 && qBlue(pixel) == 0,
                             qPrintable(QStringLiteral("colour at %1,%2").arg(x).arg(y)));
                ink += qAlpha(pixel) / 255.0;
            }
        }
        // Strokes about a ninth of the size wide: a fifth to a half of the square is ink.
        const qreal coverage = ink / (size * size);
        QVERIFY2(coverage > 0.2 && coverage < 0.5, qPrintable(QString::number(coverage)));
    }
};

QTEST_MAIN(TestMenuBarIcon)
#include "tst_menubaricon.moc"
