#pragma once

#include "platform/SystemLog.h"

// The program's log on Linux: standard error, where the desktop session collects what its
// programs write. Each message goes out as one line, exactly as given, at once.
class StandardErrorLog final : public SystemLog {
public:
    void write(const QString &message) override;
};
