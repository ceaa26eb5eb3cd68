#pragma once

#include <QString>

// Buttons, menu items and menu titles read "&" as the mark of a keyboard shortcut: a name such
// as "Software & Updates" or the selection bar's "Open 1 App & Quit 2 Apps" would lose its "&"
// and gain an Alt shortcut. Texts bound for them pass through here; accessible names, tooltips
// and labels take their text as it is.
class LiteralText final {
public:
    static QString forShortcutMarks(const QString &text);
};
