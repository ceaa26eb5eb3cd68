#pragma once

#include <optional>
#include <QString>

// The options the program answers by itself, before it opens a window: --help and --version
// print their text and end the program, with no display needed. Anything else (Qt's own -style,
// -platform …) is left to Qt.
class CommandLineOptions {
public:
    // The exit status when the arguments asked for an answer; none when the program should run.
    static std::optional<int> answer(int argc, char **argv, const QString &version);
};
