#pragma once

#include <memory>
#include <optional>
#include <QImage>
#include <QString>

// An application that runs in the user's session, as the platform's workspace reports it. The
// platform owns the handles and hands out the same one for as long as the application runs, so
// two handles are the same application exactly when they are the same object.
class RunningApplication {
public:
    enum class ActivationPolicy { Regular = 0, Accessory = 1, Prohibited = 2 };

    virtual ~RunningApplication() = default;

    virtual std::optional<QString> bundleIdentifier() const = 0;
    virtual std::optional<QString> localizedName() const = 0;
    virtual qint32 processIdentifier() const = 0;
    virtual ActivationPolicy activationPolicy() const = 0;
    virtual bool isTerminated() const = 0;
    // Where the application's bundle lies on disk, or none.
    virtual std::optional<QString> bundlePath() const = 0;
    // The application's own icon, or a null image.
    virtual QImage icon() const = 0;
    // Asks the application to quit normally; answers whether a request could be sent.
    virtual bool terminate() = 0;
};

using RunningApplicationPtr = std::shared_ptr<RunningApplication>;
