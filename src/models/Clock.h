#pragma once

#include <QDateTime>

// Where the program reads "now" from, so that tests can run in virtual time.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};
