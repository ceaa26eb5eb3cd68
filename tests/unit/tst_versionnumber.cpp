#include "updates/VersionNumber.h"

#include <QTest>

class VersionNumberTest : public QObject {
    Q_OBJECT

private slots:
    // Pairs of versions, the first older than the second or equal to it.
    void comparesVersions_data() {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<bool>("isOlder");
        const auto row = [](const char *name, const char *first, const char *second, bool isOlder) {
            QTest::newRow(name) << first << second << isOlder;
        };
        row("numbers, not text", "1.9", "1.10", true);
        row("major first", "1.99.99", "2.0", true);
        row("more parts", "1.2", "1.2.1", true);
        row("beyond 64 bits", "18446744073709551615", "18446744073709551616", true);
        row("pre-release before release", "1.2b1", "1.2", true);
        row("pre-release after the last release", "1.1.9", "1.2-beta", true);
        row("pre-release before release with zero", "1.2.0-rc.1", "1.2", true);
        row("dev before alpha", "2.0.dev4", "2.0alpha", true);
        row("alpha before beta", "2.0a3", "2.0b1", true);
        row("beta before release candidate", "2.0-beta.9", "2.0-rc.1", true);
        row("stage numbers", "2.0b2", "2.0b10", true);
        row("bare stage first", "2.0-beta", "2.0-beta.2", true);
        row("number before word", "2.0-1", "2.0-alpha", true);
        row("other words alphabetically", "2.0-nightly", "2.0-snapshot", true);
        row("trailing zeros", "1.0", "1.0.0", false);
        row("leading zeros", "1.02", "1.2", false);
        row("leading v", "v1.2", "1.2", false);
        row("blanks around", " 1.2\n", "1.2", false);
        row("build metadata", "1.2+20240501", "1.2", false);
        row("tag separators", "1.2-rc.1", "1.2rc1", false);
        row("tag case", "1.2-Beta", "1.2b", false);
    }
    void comparesVersions() {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(bool, isOlder);
        const VersionNumber a(first);
        const VersionNumber b(second);
        QVERIFY(a.isValid() && b.isValid());
        QCOMPARE(a < b, isOlder);
        QCOMPARE(b > a, isOlder);
        QCOMPARE(a == b, !isOlder);
        QVERIFY(!(b < a));
    }

    void isValidOnlyWithANumberFirst_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        for (const char *invalid : {"", "  ", "latest", "v", "-beta"})
            QTest::addRow("\"%s\"", invalid) << invalid << false;
        for (const char *valid : {"0", "V3.1"})
            QTest::addRow("\"%s\"", valid) << valid << true;
    }
    void isValidOnlyWithANumberFirst() {
        QFETCH(QString, text);
        QTEST(VersionNumber(text).isValid(), "valid");
        QCOMPARE(VersionNumber(text).text(), text);
    }
};

QTEST_GUILESS_MAIN(VersionNumberTest)
#include "tst_versionnumber.moc"
