#include "SwaySession.h"

SwaySession::SwaySession() {
    const QString config = writeFile(QStringLiteral("sway.conf"), "xwayland enable\n");
    share("WLR_BACKENDS", QStringLiteral("headless"));
    share("WLR_LIBINPUT_NO_DEVICES", QStringLiteral("1"));
    share("WLR_RENDERER", QStringLiteral("pixman"));
    if (launch(QStringLiteral("sway"), {QStringLiteral("-c"), config}))
        share("SWAYSOCK", awaitFile(QStringLiteral("sway-ipc.*.sock")));
}
