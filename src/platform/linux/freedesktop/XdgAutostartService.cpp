#include "XdgAutostartService.h"

#include "RegularFile.h"

#include <algorithm>
#include <memory>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

// GLib names a member "signals", which Qt's headers have made a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#pragma pop_macro("signals")

namespace {

const char *const desktopFileId = "app.quellory.Quellory.desktop";
const char *const iconName = "app.quellory.Quellory";
const char *const autostartEnabledKey = "X-GNOME-Autostart-enabled";

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;

struct GObjectDeleter {
    void operator()(gpointer object) const { g_object_unref(object); }
};

QString autostartFolder() {
    // A relative path in the variable is invalid and ignored, as every desktop ignores it.
    const QString configHome = qEnvironmentVariable("XDG_CONFIG_HOME");
    return (QDir::isAbsolutePath(configHome) ? configHome : QDir::homePath() + "/.config") +
           "/autostart";
}

// The Exec line of the program's own desktop entry, when one is installed and GIO finds its
// program: that is how the desktop's menus start it.
std::optional<QString> installedCommand() {
    const std::unique_ptr<GDesktopAppInfo, GObjectDeleter> application(
        g_desktop_app_info_new(desktopFileId));
    const char *commandLine =
        application ? g_app_info_get_commandline(G_APP_INFO(application.get())) : nullptr;
    if (!commandLine || !*commandLine)
        return std::nullopt;
    return QString::fromUtf8(commandLine);
}

} // namespace

XdgAutostartService::XdgAutostartService()
    : m_path(autostartFolder() + '/' + QLatin1String(desktopFileId)) {}

XdgAutostartService::XdgAutostartService(const QString &path, const QString &command)
    : m_path(path), m_command(command) {}

QString XdgAutostartService::execLine(const QString &program) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    static const QString escapedInQuotes = QStringLiteral("\"`$\\");
    const bool needsQuotes =
        std::any_of(program.cbegin(), program.cend(), [](QChar c) { return reserved.contains(c); });
    QString line = needsQuotes ? QStringLiteral("\"") : QString();
    for (const QChar c : program) {
        if (c == '%')
            line += '%';
        else if (needsQuotes && escapedInQuotes.contains(c))
            line += '\\';
        line += c;
    }
    return needsQuotes ? line + '"' : line;
}

LoginItemService::Status XdgAutostartService::status() const {
    KeyFile entry(g_key_file_new(), g_key_file_free);
    if (!RegularFile::loadKeyFile(entry.get(), m_path))
        return Status::notRegistered;
    const char *group = G_KEY_FILE_DESKTOP_GROUP;
    g_autofree gchar *exec =
        g_key_file_get_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_EXEC, nullptr);
    // The session starts nothing from an entry that is hidden, that GNOME's switch turned off
    // (any value but true, as gnome-session reads it) or that names no program.
    const bool isOff =
        g_key_file_get_boolean(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr) ||
        (g_key_file_has_key(entry.get(), group, autostartEnabledKey, nullptr) &&
         !g_key_file_get_boolean(entry.get(), group, autostartEnabledKey, nullptr));
    return isOff || !exec || !*exec ? Status::notRegistered : Status::enabled;
}

std::optional<QString> XdgAutostartService::registerService() {
    KeyFile entry(g_key_file_new(), g_key_file_free);
    const char *group = G_KEY_FILE_DESKTOP_GROUP;
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_TYPE,
                          G_KEY_FILE_DESKTOP_TYPE_APPLICATION);
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_NAME, "Quellory");
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_EXEC,
                          command().toUtf8().constData());
    g_key_file_set_string(entry.get(), group, G_KEY_FILE_DESKTOP_KEY_ICON, iconName);
    g_key_file_set_boolean(entry.get(), group, autostartEnabledKey, TRUE);
    gsize length = 0;
    g_autofree gchar *data = g_key_file_to_data(entry.get(), &length, nullptr);

    // A folder that cannot be made shows as the file's own error below.
    QDir().mkpath(QFileInfo(m_path).path());
    // Written to a new file beside it, then renamed over it: whatever lies at the path, a link
    // included, is replaced and never written through.
    g_autoptr(GError) error = nullptr;
    if (!g_file_set_contents_full(QFile::encodeName(m_path).constData(), data, gssize(length),
                                  G_FILE_SET_CONTENTS_CONSISTENT, 0644, &error))
        return QString::fromUtf8(error->message);
    return std::nullopt;
}

std::optional<QString> XdgAutostartService::unregisterService() {
    if (status() != Status::enabled)
        return std::nullopt;
    QFile file(m_path);
    if (!file.remove() && file.exists())
        return file.errorString();
    return std::nullopt;
}

QString XdgAutostartService::command() const {
    if (m_command)
        return *m_command;
    return installedCommand().value_or(execLine(QCoreApplication::applicationFilePath()));
}
