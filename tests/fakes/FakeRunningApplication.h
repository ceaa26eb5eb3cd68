#pragma once

#include "platform/RunningApplication.h"

// A running application that has nothing but its icon.
class FakeRunningApplication final : public RunningApplication {
public:
    explicit FakeRunningApplication(QImage icon) : m_icon(std::move(icon)) {}

    std::optional<QString> bundleIdentifier() const override { return {}; }
    std::optional<QString> localizedName() const override { return {}; }
    qint32 processIdentifier() const override { return 0; }
    ActivationPolicy activationPolicy() const override { return ActivationPolicy::Regular; }
    bool isTerminated() const override { return false; }
    std::optional<QString> bundlePath() const override { return {}; }
    QImage icon() const override { return m_icon; }
    bool terminate() override { return false; }

private:
    QImage m_icon;
};
