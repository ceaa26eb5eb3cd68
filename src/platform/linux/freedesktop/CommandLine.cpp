#include "CommandLine.h"

#include <string_view>

namespace {

// Each list holds options between blanks.
struct Interpreter {
    std::string_view name;           // the file name without a version: "python3.11" is "python"
    std::string_view valueOptions;   // the next argument is the option's value
    std::string_view programOptions; // the next argument is the program (a jar, a module)
    std::string_view codeOptions;    // the code comes inline or from standard input
    bool takesAssignments = false;   // NAME=value arguments come before the program
};

constexpr std::string_view shellValues = " -o +o -O +O --rcfile --init-file ";
constexpr std::string_view shellCode = " -c -s - ";
constexpr std::string_view nodeValues = " -r --require ";
constexpr std::string_view nodeCode = " -e -p --eval --print - ";
constexpr std::string_view javaValues =
    " -cp -classpath --class-path -p --module-path --upgrade-module-path --add-modules "
    "--add-reads --add-exports --add-opens --limit-modules --patch-module --source ";

constexpr Interpreter interpreters[] = {
    {"env", " -u --unset -C --chdir ", "", " -S --split-string ", true},
    {"python", " -W -X ", " -m ", " -c - "},
    {"perl", " -I ", "", " -e -E - "},
    {"ruby", " -I -r ", "", " -e - "},
    {"lua", " -l ", "", " -e - "},
    {"node", nodeValues, "", nodeCode},
    {"nodejs", nodeValues, "", nodeCode},
    {"java", javaValues, " -jar -m --module ", ""},
    {"sh", shellValues, "", shellCode},
    {"bash", shellValues, "", shellCode},
    {"dash", shellValues, "", shellCode},
    {"zsh", shellValues, "", shellCode},
    {"ksh", shellValues, "", shellCode},
    {"mksh", shellValues, "", shellCode},
    {"tclsh", "", "", ""},
    {"wish", "", "", ""},
};

std::string_view view(const QByteArray &bytes) {
    return {bytes.constData(), size_t(bytes.size())};
}

bool isListed(std::string_view list, std::string_view option) {
    if (option.empty() || option.find(' ') != std::string_view::npos)
        return false;
    for (size_t at = list.find(option); at != std::string_view::npos;
         at = list.find(option, at + 1)) {
        if (list[at - 1] == ' ' && list[at + option.size()] == ' ')
            return true;
    }
    return false;
}

const Interpreter *interpreterOf(std::string_view program) {
    std::string_view name = program.substr(program.rfind('/') + 1);
    while (!name.empty() && (name.back() == '.' || (name.back() >= '0' && name.back() <= '9')))
        name.remove_suffix(1);
    for (const Interpreter &interpreter : interpreters) {
        if (interpreter.name == name)
            return &interpreter;
    }
    return nullptr;
}

// Whether short options run together ("-ec", "-pe") give the code inline; a letter that takes a
// value ends them, as the rest is its value.
bool clusterGivesCode(const Interpreter &interpreter, std::string_view cluster) {
    for (const char letter : cluster.substr(1)) {
        const char option[] = {'-', letter};
        const std::string_view single(option, 2);
        if (isListed(interpreter.codeOptions, single))
            return true;
        if (isListed(interpreter.valueOptions, single) ||
            isListed(interpreter.programOptions, single))
            return false;
    }
    return false;
}

// The index of the program among the interpreter's arguments from first on, -1 when it runs
// code of its own.
qsizetype programAfter(const Interpreter &interpreter, const QByteArrayList &arguments,
                       qsizetype first) {
    const qsizetype count = arguments.size();
    for (qsizetype at = first; at < count; ++at) {
        const std::string_view argument = view(arguments[at]);
        if (argument == "--" || isListed(interpreter.programOptions, argument))
            return at + 1 < count ? at + 1 : -1;
        if (isListed(interpreter.codeOptions, argument))
            return -1;
        if (isListed(interpreter.valueOptions, argument)) {
            ++at;
        } else if (argument.size() > 1 && (argument[0] == '-' || argument[0] == '+')) {
            if (argument[1] != '-' && clusterGivesCode(interpreter, argument))
                return -1;
        } else if (!interpreter.takesAssignments || argument.find('=') == argument.npos) {
            return at;
        }
    }
    return -1;
}

} // namespace

qsizetype CommandLine::programIndex(const QByteArrayList &arguments) {
    if (arguments.isEmpty())
        return -1;
    qsizetype at = 0;
    while (const Interpreter *interpreter = interpreterOf(view(arguments[at]))) {
        const qsizetype next = programAfter(*interpreter, arguments, at + 1);
        if (next < 0)
            break;
        at = next;
    }
    return at;
}
