#include "views/UpdateDialog.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace {

enum class Outcome { upToDate, updateAvailable, checkFailed };

QList<QMessageBox *> boxesOnScreen() {
    QList<QMessageBox *> boxes;
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *box = qobject_cast<QMessageBox *>(widget); box && box->isVisible())
            boxes.append(box);
    return boxes;
}

QPushButton *buttonLabelled(const QMessageBox &box, const QString &text) {
    for (QAbstractButton *button : box.buttons())
        if (button->text() == text)
            return qobject_cast<QPushButton *>(button);
    return nullptr;
}

} // namespace

Q_DECLARE_METATYPE(Outcome)

class UpdateDialogTest : public QObject {
    Q_OBJECT

private slots:
    void showsEachOutcome_data() {
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<QMessageBox::Icon>("icon");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("informativeText");
        QTest::newRow("up to date")
            << Outcome::upToDate << QMessageBox::Information << "You're up to date"
            << "Quellory 1.2.0 is the newest version available.";
        QTest::newRow("update") << Outcome::updateAvailable << QMessageBox::Information
                                << "A new version of Quellory is available"
                                << "Quellory 1.3 is available — you have 1.2.0.";
        QTest::newRow("failure") << Outcome::checkFailed << QMessageBox::Warning
                                 << "Couldn't check for updates"
                                 << "The update server took too long to answer.";
    }
    void showsEachOutcome() {
        QFETCH(Outcome, outcome);
        QList<QUrl> opened;
        const QUrl download("https://downloads.quellory.app/Quellory-1.3.tar.gz");
        UpdateDialog dialog([&opened](const QUrl &url) { opened.append(url); });
        switch (outcome) {
        case Outcome::upToDate:
            dialog.showUpToDate("1.2.0");
            break;
        case Outcome::updateAvailable:
            dialog.showUpdateAvailable("1.3", "1.2.0", download);
            break;
        case Outcome::checkFailed:
            dialog.showCheckFailed("The update server took too long to answer.");
            break;
        }

        QMessageBox *box = dialog.messageBox();
        QVERIFY(box);
        QVERIFY(QTest::qWaitForWindowExposed(box));
        QCOMPARE(boxesOnScreen(), QList<QMessageBox *>{box});
        QTEST(box->icon(), "icon");
        QTEST(box->text(), "text");
        QTEST(box->informativeText(), "informativeText");
        QPushButton *downloadButton = buttonLabelled(*box, "Download");
        QCOMPARE(downloadButton != nullptr, outcome == Outcome::updateAvailable);

        QTest::mouseClick(downloadButton ? downloadButton : box->button(QMessageBox::Close),
                          Qt::LeftButton);
        QTRY_VERIFY(!dialog.messageBox());
        QCOMPARE(opened, downloadButton ? QList<QUrl>{download} : QList<QUrl>{});
    }

    void aNewOutcomeReplacesTheOneOnScreen() {
        QList<QUrl> opened;
        UpdateDialog dialog([&opened](const QUrl &url) { opened.append(url); });
        dialog.showCheckFailed("The update server 127.0.0.1 couldn't be reached.");
        QPointer<QMessageBox> first = dialog.messageBox();
        QVERIFY(QTest::qWaitForWindowExposed(first));

        dialog.showUpdateAvailable("1.3", "1.2.0", QUrl("https://quellory.app/1.3"));
        QVERIFY(!first);
        QCOMPARE(boxesOnScreen(), QList<QMessageBox *>{dialog.messageBox()});
        QTest::keyClick(dialog.messageBox(), Qt::Key_Return);
        QCOMPARE(opened, QList<QUrl>{QUrl("https://quellory.app/1.3")});
    }
};

QTEST_MAIN(UpdateDialogTest)
#include "tst_updatedialog.moc"
