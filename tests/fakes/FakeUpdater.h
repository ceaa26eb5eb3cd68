#pragma once

#include "platform/Updater.h"

// An updater that can or cannot check, as the test says, and counts the checks asked of it.
class FakeUpdater final : public Updater {
public:
    bool hasFeed = false;
    bool isStarted = false;
    int checks = 0;

    bool startUpdater() override { return isStarted = hasFeed; }
    bool canCheckForUpdates() const override { return isStarted; }
    void checkForUpdates() override { ++checks; }
};
