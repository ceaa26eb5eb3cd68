#include "KWinSession.h"

#include <QFile>
#include <sys/stat.h>

KWinSession::KWinSession() {
    // Xwayland puts its socket there and KWin will not make the folder itself.
    if (mkdir("/tmp/.X11-unix", 01777) == 0)
        chmod("/tmp/.X11-unix", 01777);
    // Debian's binary carries a file capability, which exec refuses in a container; a copy
    // carries none.
    const QString kwin = folder() + QStringLiteral("/kwin_wayland");
    if (!QFile::copy(QStringLiteral("/usr/bin/kwin_wayland"), kwin))
        return;
    launch(kwin,
           {QStringLiteral("--virtual"), QStringLiteral("--xwayland"), QStringLiteral("--socket"),
            QStringLiteral("wayland-0"), QStringLiteral("--width"), QStringLiteral("1280"),
            QStringLiteral("--height"), QStringLiteral("800"), QStringLiteral("--no-lockscreen"),
            QStringLiteral("--no-global-shortcuts"), QStringLiteral("--no-kactivities")});
}
