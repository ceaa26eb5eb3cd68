#pragma once

#include <optional>
#include <QString>

class LoginItemService;

// Registering and unregistering this program with the login-item service, calling the service
// only when its status says there is something to change.
namespace LaunchAtLogin {

struct ServiceError {
    enum class Case { registrationFailed };

    Case error = Case::registrationFailed;
    // What the service reported.
    QString serviceError;
};

// Turns starting at login on or off. When the service wants the user's approval for a new
// registration, its settings are opened for the user to give it.
[[nodiscard]] std::optional<ServiceError> setEnabled(LoginItemService &service, bool enabled);

} // namespace LaunchAtLogin
