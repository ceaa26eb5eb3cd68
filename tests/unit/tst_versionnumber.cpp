#include "models/VersionNumber.h"

#include <QTest>

class VersionNumberTest : public QObject {
    Q_OBJECT

private slots:
    void ordersVersions_data() {
        QTest::addColumn<QString>("older");
        QTest::addColumn<QString>("newer");
        QTest::newRow("numbers, not text") << "1.9"
                                           << "1.10";
        QTest::newRow("major first") << "1.99.99"
                                     << "2.0";
        QTest::newRow("more parts") << "1.2"
                                    << "1.2.1";
        QTest::newRow("beyond 64 bits") << "18446744073709551615"
                                        << "18446744073709551616";
        QTest::newRow("leading zeros") << "1.09"
                                       << "1.10";
        QTest::newRow("pre-release before release") << "1.2b1"
                                                    << "1.2";
        QTest::newRow("pre-release after the last release") << "1.1.9"
                                                            << "1.2-beta";
        QTest::newRow("pre-release before release with zero") << "1.2.0-rc.1"
                                                              << "1.2";
        QTest::newRow("alpha before beta") << "2.0a3"
                                           << "2.0b1";
        QTest::newRow("beta before release candidate") << "2.0-beta.9"
                                                       << "2.0-rc.1";
        QTest::newRow("dev before alpha") << "2.0.dev4"
                                          << "2.0alpha";
        QTest::newRow("stage numbers") << "2.0b2"
                                       << "2.0b10";
        QTest::newRow("bare stage first") << "2.0-beta"
                                          << "2.0-beta.2";
        QTest::newRow("number before word") << "2.0-1"
                                            << "2.0-alpha";
        QTest::newRow("other words alphabetically") << "2.0-nightly"
                                                    << "2.0-snapshot";
    }
    void ordersVersions() {
        QFETCH(QString, older);
        QFETCH(QString, newer);
        QVERIFY(VersionNumber(older).isValid());
        QVERIFY(VersionNumber(newer).isValid());
        QVERIFY(VersionNumber(older) < VersionNumber(newer));
        QVERIFY(VersionNumber(newer) > VersionNumber(older));
        QVERIFY(VersionNumber(older) != VersionNumber(newer));
    }

    void equalVersions_data() {
        QTest::addColumn<QString>("one");
        QTest::addColumn<QString>("other");
        QTest::newRow("same") << "1.4.2"
                              << "1.4.2";
        QTest::newRow("trailing zeros") << "1.0"
                                        << "1.0.0";
        QTest::newRow("zero") << "0"
                              << "0.0";
        QTest::newRow("leading zeros") << "1.02"
                                       << "1.2";
        QTest::newRow("leading v") << "v1.2"
                                   << "1.2";
        QTest::newRow("blanks around") << " 1.2\n"
                                       << "1.2";
        QTest::newRow("build metadata") << "1.2+20240501"
                                        << "1.2";
        QTest::newRow("tag separators") << "1.2-rc.1"
                                        << "1.2rc1";
        QTest::newRow("tag case") << "1.2-Beta"
                                  << "1.2b";
    }
    void equalVersions() {
        QFETCH(QString, one);
        QFETCH(QString, other);
        QVERIFY(VersionNumber(one) == VersionNumber(other));
        QVERIFY(!(VersionNumber(one) < VersionNumber(other)));
        QVERIFY(!(VersionNumber(other) < VersionNumber(one)));
    }

    void isValidOnlyWithANumberFirst_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::newRow("empty") << "" << false;
        QTest::newRow("blank") << "  " << false;
        QTest::newRow("word") << "latest" << false;
        QTest::newRow("v alone") << "v" << false;
        QTest::newRow("tag alone") << "-beta" << false;
        QTest::newRow("zero") << "0" << true;
        QTest::newRow("build number") << "4711" << true;
        QTest::newRow("with v") << "V3.1" << true;
    }
    void isValidOnlyWithANumberFirst() {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QCOMPARE(VersionNumber(text).isValid(), valid);
        QCOMPARE(VersionNumber(text).text(), text);
    }
};

QTEST_GUILESS_MAIN(VersionNumberTest)
#include "tst_versionnumber.moc"
