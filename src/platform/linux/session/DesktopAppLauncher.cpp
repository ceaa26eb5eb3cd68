#include "DesktopAppLauncher.h"

#include <fcntl.h>
#include <memory>
#include <QCoreApplication>
#include <QFile>
#include <unistd.h>

// GLib names a member "signals", which Qt's headers have made a keyword.
#pragma push_macro("signals")
#undef signals
#include <gio/gdesktopappinfo.h>
#pragma pop_macro("signals")

namespace {

template <typename T> struct GObjectDeleter {
    void operator()(T *object) const { g_object_unref(object); }
};
template <typename T> using GObjectPtr = std::unique_ptr<T, GObjectDeleter<T>>;

} // namespace

std::optional<QString> DesktopAppLauncher::launch(const QString &path) {
    GObjectPtr<GDesktopAppInfo> application(
        g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()));
    if (!application)
        return QCoreApplication::translate("DesktopAppLauncher",
                                           "The application “%1” can’t be opened because its "
                                           "desktop entry is missing or damaged.")
            .arg(path);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    GObjectPtr<GAppLaunchContext> context(g_app_launch_context_new());
    GError *error = nullptr;
    const bool isLaunched = g_desktop_app_info_launch_uris_as_manager_with_fds(
        application.get(), nullptr, context.get(), G_SPAWN_SEARCH_PATH, nullptr, nullptr, nullptr,
        nullptr, -1, nowhere, nowhere, &error);
    if (nowhere >= 0)
        close(nowhere);
    if (isLaunched)
        return std::nullopt;
    const QString description = QString::fromUtf8(error ? error->message : "unknown error");
    g_clear_error(&error);
    return description;
}
