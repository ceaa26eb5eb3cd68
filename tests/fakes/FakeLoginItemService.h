#pragma once

#include "platform/LoginItemService.h"

// A login-item service whose status and answers the test sets, counting what it is asked.
class FakeLoginItemService final : public LoginItemService {
public:
    Status current = Status::notRegistered;
    // The status that a successful registration leaves.
    Status statusAfterRegistering = Status::enabled;
    std::optional<QString> registerError;
    std::optional<QString> unregisterError;
    int registerCalls = 0;
    int unregisterCalls = 0;
    int settingsOpened = 0;

    Status status() const override { return current; }
    std::optional<QString> registerService() override {
        ++registerCalls;
        if (!registerError)
            current = statusAfterRegistering;
        return registerError;
    }
    std::optional<QString> unregisterService() override {
        ++unregisterCalls;
        if (!unregisterError)
            current = Status::notRegistered;
        return unregisterError;
    }
    void openSystemSettingsLoginItems() override { ++settingsOpened; }
};
