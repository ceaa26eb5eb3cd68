#pragma once

#include <QByteArray>
#include <QByteArrayList>

// Reads which program a command line runs. A script started through its interpreter
// ("python3 /usr/bin/idle", "java -jar app.jar", "sh run.sh"), also behind env, is that script,
// as a shebang line makes the kernel start it: the interpreter is the program only when it runs
// code given inline or no file at all.
class CommandLine {
public:
    // The index of the argument that names the program; -1 for no arguments.
    static qsizetype programIndex(const QByteArrayList &arguments);
};
