#include "CommandLineOptions.h"

#include <cstdio>
#include <QCommandLineParser>
#include <QCoreApplication>

std::optional<int> CommandLineOptions::answer(int argc, char **argv, const QString &version) {
    // A core application needs no display; it goes before the real one is made.
    QCoreApplication core(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Quellory"));
    QCoreApplication::setApplicationVersion(version);
    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate(
        "CommandLineOptions",
        "Lists the applications you run and quits them politely, and opens the "
        "ones you use most."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption versionOption = parser.addVersionOption();
    // Unknown options are Qt's own: parsing goes on past them.
    parser.parse(QCoreApplication::arguments());
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (parser.isSet(versionOption)) {
        std::printf("Quellory %s\n", qPrintable(version));
        return 0;
    }
    return std::nullopt;
}
