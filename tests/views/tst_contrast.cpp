#include "fakes/AppsListFixture.h"
#include "fakes/FakeLoginItemService.h"
#include "models/AppSettings.h"
#include "views/AppActionRow.h"
#include "views/SelectionBar.h"
#include "views/SettingsPopoverView.h"
#include "views/ToggleSwitch.h"

#include <QLabel>
#include <QPushButton>
#include <QStyleFactory>

namespace {

// WCAG 2 relative luminance and contrast ratio.
double luminance(QRgb rgb) {
    const auto channel = [](int value) {
        const double c = value / 255.0;
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(rgb)) + 0.7152 * channel(qGreen(rgb)) +
           0.0722 * channel(qBlue(rgb));
}
double ratio(QRgb a, QRgb b) {
    const double first = luminance(a), second = luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

// The contrast of what is drawn in an area against the area's own background, its most
// frequent colour: the strongest pixel is the core of a glyph's stroke or a control's edge.
double drawnContrast(const QImage &image, const QRect &area) {
    QHash<QRgb, int> counts;
    const QRect inside = area.intersected(image.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            ++counts[image.pixel(x, y) | 0xff000000];
    QRgb background = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        if (it.value() > counts.value(background))
            background = it.key();
    double strongest = 1;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        strongest = std::max(strongest, ratio(it.key(), background));
    return strongest;
}

// The strongest contrast of a control's drawn pixels against the colour beside it.
double edgeContrast(const QImage &image, const QRect &control) {
    const QRgb beside = image.pixel(control.left() - 3, control.center().y()) | 0xff000000;
    double strongest = 1;
    for (int y = control.top(); y <= control.bottom(); ++y)
        for (int x = control.left(); x <= control.right(); ++x)
            strongest = std::max(strongest, ratio(image.pixel(x, y), beside));
    return strongest;
}

QPalette lightPalette() {
    return QStyleFactory::create("Fusion")->standardPalette();
}

// A dark theme: Qt derives the shades and the text from the button and window colours; a
// placeholder as faint as themes make it.
QPalette darkPalette() {
    QPalette dark(QColor(0x35, 0x35, 0x35), QColor(0x2b, 0x2b, 0x2b));
    dark.setColor(QPalette::PlaceholderText, QColor(0xee, 0xee, 0xee, 0x80));
    return dark;
}

} // namespace

// Every text reaches 4.5:1 and every control's edge 3:1 against what lies behind it, in a light
// and a dark theme, measured on the pixels the widgets draw.
class ContrastTest : public QObject {
    Q_OBJECT

    QHash<QString, double> m_measured;

    void measure(const QString &what, double contrast) {
        m_measured.insert(what, contrast);
        qInfo("%-28s %5.2f:1", qPrintable(what), contrast);
    }

    void measureList() {
        AppsListWindow session;
        QVERIFY(session.show());
        session.view->selection().toggleSelection(AppsListSession::mail, true);
        QVERIFY(QTest::qWaitFor([&] { return session.view->selectionBar()->isVisible(); }));
        const QImage list = session.list->viewport()->grab().toImage();
        const AppActionRow &row = *session.view->rowDelegate();
        for (int i = 0; i < session.view->rows().rowCount(); ++i) {
            const QModelIndex index = session.view->rows().index(i, 0);
            const QString name = index.data().toString();
            const auto g = row.geometry(*session.list, index);
            if (name == "Running") {
                measure("section header", drawnContrast(list, session.list->visualRect(index)));
            } else if (name == "Terminal") {
                measure("app name", drawnContrast(list, g.name));
                measure("Quit button", drawnContrast(list, g.action.adjusted(3, 3, -3, -3)));
                measure("check box (unticked)", edgeContrast(list, g.checkbox));
            } else if (name == "Editor") {
                measure("Open button", drawnContrast(list, g.action.adjusted(3, 3, -3, -3)));
            }
        }
        SelectionBar &bar = *session.view->selectionBar();
        const QImage barImage = bar.grab().toImage();
        measure("selection summary",
                drawnContrast(barImage, bar.findChild<QLabel *>()->geometry()));
        measure("selection button label",
                drawnContrast(barImage, bar.actionButton()->geometry().adjusted(4, 4, -4, -4)));
    }

    void measureSettings() {
        MemoryDefaultsStore defaults;
        FakeLoginItemService service;
        AppSettings settings{defaults, service};
        SettingsPopoverView view(settings, SupportMail(
                                               "support@quellory.app", {}, [](const QUrl &) {},
                                               [](const QUrl &) { return true; }));
        view.resize(SettingsPopoverView::fixedWidth, view.heightForWidth(view.width()));
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const QImage image = view.grab().toImage();
        const auto inView = [&view](const QWidget *widget) {
            return QRect(widget->mapTo(&view, QPoint(0, 0)), widget->size());
        };
        const QList<QLabel *> labels = view.findChildren<QLabel *>();
        measure("setting title", drawnContrast(image, inView(labels.first())));
        measure("setting description", drawnContrast(image, inView(labels.last())));
        measure("support link", drawnContrast(image, inView(view.findChild<QPushButton *>())));
        measure("switch (off)",
                edgeContrast(image, inView(view.findChildren<ToggleSwitch *>()[0])));
    }

private slots:
    void initTestCase() { QApplication::setStyle("Fusion"); }

    void textAndControlsStandOut_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
    }
    void textAndControlsStandOut() {
        QFETCH(QPalette, palette);
        QApplication::setPalette(palette);
        m_measured.clear();
        measureList();
        measureSettings();
        QCOMPARE(m_measured.size(), 11);
        for (auto it = m_measured.cbegin(); it != m_measured.cend(); ++it) {
            const bool isControl =
                it.key().startsWith("check box") || it.key().startsWith("switch");
            QVERIFY2(it.value() >= (isControl ? 3.0 : 4.5), qPrintable(it.key()));
        }
    }
};

QTEST_MAIN(ContrastTest)
#include "tst_contrast.moc"
