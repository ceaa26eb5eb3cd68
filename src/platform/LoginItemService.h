#pragma once

#include <optional>
#include <QString>

// The operating system's record of whether this program starts when the user logs in.
class LoginItemService {
public:
    enum class Status { notRegistered = 0, enabled = 1, requiresApproval = 2, notFound = 3 };

    virtual ~LoginItemService() = default;

    virtual Status status() const = 0;
    // Each answers none on success, else the service's description of what went wrong. After a
    // successful registration the status may still be requiresApproval.
    virtual std::optional<QString> registerService() = 0;
    virtual std::optional<QString> unregisterService() = 0;
    // Shows the user where login items are approved; returns at once.
    virtual void openSystemSettingsLoginItems() = 0;
};
