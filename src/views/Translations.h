#pragma once

class QLocale;

// The program's texts in the user's language, and Qt's own texts (standard buttons, the search
// field's menu) where Qt's translations are installed. English has a file too, for its plural
// forms ("1 App", "2 Apps"); it also serves every language without a file of its own.
class Translations final {
public:
    static void install(const QLocale &locale);
};
