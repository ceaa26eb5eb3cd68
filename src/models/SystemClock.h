#pragma once

#include "Clock.h"

// The wall clock.
class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTimeUtc(); }
};
