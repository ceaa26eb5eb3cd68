#pragma once

#include "platform/SystemLog.h"

#include <QStringList>

// A system log that keeps its lines for the test to read.
class RecordingLog final : public SystemLog {
public:
    QStringList lines;

    void write(const QString &message) override { lines.append(message); }
};
