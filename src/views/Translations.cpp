#include "Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace {

// The translator searched first is the one installed last.
void installTranslator(const QLocale &locale, const QString &name, const QString &folder) {
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(locale, name, QStringLiteral("_"), folder))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}

} // namespace

void Translations::install(const QLocale &locale) {
    const QString ownFolder = QStringLiteral(":/i18n");
    installTranslator(QLocale(QLocale::English), QStringLiteral("quellory"), ownFolder);
    installTranslator(locale, QStringLiteral("qtbase"),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    installTranslator(locale, QStringLiteral("quellory"), ownFolder);
}
