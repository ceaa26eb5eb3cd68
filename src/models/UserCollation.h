#pragma once

#include <QCollator>

// Comparison of names as the user reads them: by the user's locale, accents and case after the
// letters themselves.
class UserCollation {
public:
    static QCollator caseSensitive() { return make(Qt::CaseSensitive); }
    static QCollator caseInsensitive() { return make(Qt::CaseInsensitive); }

private:
    static QCollator make(Qt::CaseSensitivity sensitivity);
};
