#pragma once

#include "platform/RunningApplication.h"

// A running application whose every property the test sets. It counts the quit requests it gets
// and answers them as told, but does not end by itself.
class FakeRunningApplication final : public RunningApplication {
public:
    std::optional<QString> identifier;
    std::optional<QString> name;
    qint32 pid = 0;
    ActivationPolicy policy = ActivationPolicy::Regular;
    std::optional<QString> path;
    QImage image;
    bool terminated = false;
    bool acceptsTerminate = true;
    int terminateCalls = 0;

    FakeRunningApplication() = default;
    explicit FakeRunningApplication(QImage icon) : image(std::move(icon)) {}

    static std::shared_ptr<FakeRunningApplication>
    make(std::optional<QString> identifier, qint32 pid,
         ActivationPolicy policy = ActivationPolicy::Regular) {
        auto application = std::make_shared<FakeRunningApplication>();
        application->identifier = std::move(identifier);
        application->pid = pid;
        application->policy = policy;
        return application;
    }

    std::optional<QString> bundleIdentifier() const override { return identifier; }
    std::optional<QString> localizedName() const override { return name; }
    qint32 processIdentifier() const override { return pid; }
    ActivationPolicy activationPolicy() const override { return policy; }
    bool isTerminated() const override { return terminated; }
    std::optional<QString> bundlePath() const override { return path; }
    QImage icon() const override { return image; }
    bool terminate() override {
        ++terminateCalls;
        return acceptsTerminate;
    }
};
