#pragma once

#include <QString>

// Where the program writes the few lines that record failed requests, one line per message.
class SystemLog {
public:
    virtual ~SystemLog() = default;
    virtual void write(const QString &message) = 0;
};
