#include "LaunchAtLogin.h"

#include "platform/LoginItemService.h"

namespace LaunchAtLogin {

std::optional<ServiceError> setEnabled(LoginItemService &service, bool enabled) {
    using Status = LoginItemService::Status;
    const Status status = service.status();
    std::optional<QString> failure;
    if (enabled) {
        if (status == Status::enabled)
            return std::nullopt;
        failure = service.registerService();
        if (!failure && service.status() == Status::requiresApproval)
            service.openSystemSettingsLoginItems();
    } else {
        // A registration that waits for approval, or whose program went missing, still has to go.
        if (status == Status::notRegistered)
            return std::nullopt;
        failure = service.unregisterService();
    }
    if (failure)
        return ServiceError{ServiceError::Case::registrationFailed, *failure};
    return std::nullopt;
}

} // namespace LaunchAtLogin
