#pragma once

#include "platform/RunningApplication.h"

// A running application whose every property the test sets.
class FakeRunningApplication final : public RunningApplication {
public:
    std::optional<QString> bundleID;
    std::optional<QString> name;
    qint32 pid = 0;
    ActivationPolicy policy = ActivationPolicy::Regular;
    bool terminated = false;
    std::optional<QString> path;
    QImage image;
    bool acceptsTerminate = true;
    int terminateCount = 0;

    std::optional<QString> bundleIdentifier() const override { return bundleID; }
    std::optional<QString> localizedName() const override { return name; }
    qint32 processIdentifier() const override { return pid; }
    ActivationPolicy activationPolicy() const override { return policy; }
    bool isTerminated() const override { return terminated; }
    std::optional<QString> bundlePath() const override { return path; }
    QImage icon() const override { return image; }
    bool terminate() override {
        ++terminateCount;
        return acceptsTerminate;
    }
};
