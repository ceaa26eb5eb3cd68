#include "VersionNumber.h"

#include <algorithm>
#include <iterator>

namespace {

bool isDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

// Numbers of any length, as text without leading zeros.
int compareNumbers(const QString &a, const QString &b) {
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

// Where a word of a pre-release tag stands among the usual ones; -1 for any other word.
int stage(const QString &word) {
    static const QStringList stages[] = {
        {"dev"}, {"a", "alpha"}, {"b", "beta"}, {"pre", "preview"}, {"c", "rc"}};
    for (int i = 0; i < int(std::size(stages)); ++i)
        if (stages[i].contains(word, Qt::CaseInsensitive))
            return i;
    return -1;
}

// Numbers before words, as Semantic Versioning orders them; the usual stages in their order;
// other words alphabetically.
int compareTagParts(const QString &a, const QString &b) {
    const bool aNumber = isDigit(a.front()), bNumber = isDigit(b.front());
    if (aNumber != bNumber)
        return aNumber ? -1 : 1;
    if (aNumber)
        return compareNumbers(a, b);
    const int aStage = stage(a), bStage = stage(b);
    if (aStage >= 0 && bStage >= 0)
        return aStage - bStage;
    return a.compare(b, Qt::CaseInsensitive);
}

QString withoutLeadingZeros(QStringView digits) {
    while (digits.size() > 1 && digits.front() == u'0')
        digits = digits.sliced(1);
    return digits.toString();
}

} // namespace

VersionNumber::VersionNumber(const QString &text) : m_text(text) {
    QStringView rest = QStringView(text).trimmed();
    if (rest.size() > 1 && (rest.front() == u'v' || rest.front() == u'V') && isDigit(rest[1]))
        rest = rest.sliced(1);
    if (const qsizetype plus = rest.indexOf(u'+'); plus >= 0)
        rest = rest.first(plus);

    qsizetype i = 0;
    while (i < rest.size() && isDigit(rest[i])) {
        const qsizetype start = i;
        while (i < rest.size() && isDigit(rest[i]))
            ++i;
        m_release.append(withoutLeadingZeros(rest.sliced(start, i - start)));
        if (i + 1 < rest.size() && rest[i] == u'.' && isDigit(rest[i + 1]))
            ++i;
        else
            break;
    }
    m_valid = !m_release.isEmpty();
    while (!m_release.isEmpty() && m_release.last() == u"0")
        m_release.removeLast();

    while (i < rest.size()) {
        const qsizetype start = i;
        if (isDigit(rest[i])) {
            while (i < rest.size() && isDigit(rest[i]))
                ++i;
            m_preRelease.append(withoutLeadingZeros(rest.sliced(start, i - start)));
        } else if (rest[i].isLetter()) {
            while (i < rest.size() && rest[i].isLetter())
                ++i;
            m_preRelease.append(rest.sliced(start, i - start).toString());
        } else {
            ++i;
        }
    }
}

int VersionNumber::compare(const VersionNumber &a, const VersionNumber &b) {
    for (qsizetype i = 0; i < std::max(a.m_release.size(), b.m_release.size()); ++i) {
        const QString aNumber = a.m_release.value(i, QStringLiteral("0"));
        const QString bNumber = b.m_release.value(i, QStringLiteral("0"));
        if (const auto order = compareNumbers(aNumber, bNumber); order != 0)
            return order;
    }
    // A release is newer than any of its pre-releases.
    if (a.m_preRelease.isEmpty() != b.m_preRelease.isEmpty())
        return a.m_preRelease.isEmpty() ? 1 : -1;
    for (qsizetype i = 0; i < std::min(a.m_preRelease.size(), b.m_preRelease.size()); ++i)
        if (const auto order = compareTagParts(a.m_preRelease[i], b.m_preRelease[i]); order != 0)
            return order;
    // "beta" comes before "beta.2".
    return int(a.m_preRelease.size() - b.m_preRelease.size());
}
