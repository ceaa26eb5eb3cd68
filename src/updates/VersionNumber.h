#pragma once

#include <QString>
#include <QStringList>

// A program's version as update feeds write it: numbers separated by dots, compared as numbers
// ("1.10" is newer than "1.9", "1.0" is "1.0.0"), optionally followed by a pre-release tag
// ("1.2b1", "1.2-rc.1"), which comes before the release it leads up to. A leading "v" and build
// metadata after "+" do not count.
class VersionNumber {
public:
    VersionNumber() = default;
    explicit VersionNumber(const QString &text);

    // False for text that does not start with a number.
    bool isValid() const { return m_valid; }
    const QString &text() const { return m_text; }

    // Negative, zero or positive as a is older than, the same as or newer than b.
    static int compare(const VersionNumber &a, const VersionNumber &b);
    friend bool operator==(const VersionNumber &a, const VersionNumber &b) {
        return compare(a, b) == 0;
    }
    friend bool operator<(const VersionNumber &a, const VersionNumber &b) {
        return compare(a, b) < 0;
    }
    friend bool operator>(const VersionNumber &a, const VersionNumber &b) {
        return compare(a, b) > 0;
    }

private:
    QString m_text;
    bool m_valid = false;
    // The numbers without leading zeros, trailing zero numbers dropped: any length compares.
    QStringList m_release;
    // The tag's runs of digits and runs of letters; what separates them does not count.
    QStringList m_preRelease;
};
