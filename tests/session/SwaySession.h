#pragma once

#include "HeadlessCompositor.h"

// sway 1.7, headless (the pixman renderer, no input devices), with Xwayland on.
class SwaySession final : public HeadlessCompositor {
public:
    SwaySession();
    // sway's IPC socket, which names the process of each window.
    QString ipcSocket() const { return environment().value(QStringLiteral("SWAYSOCK")); }
};
