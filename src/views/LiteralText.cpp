#include "LiteralText.h"

QString LiteralText::forShortcutMarks(const QString &text) {
    QString marked = text;
    return marked.replace(QLatin1Char('&'), QStringLiteral("&&"));
}
