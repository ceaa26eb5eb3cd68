#pragma once

#include "platform/RunningApplication.h"

#include <optional>
#include <QString>

// One entry of the main window's list: a running application to quit or an installed one to
// open.
struct ListItem {
    enum class Kind { quit, open };

    QString id; // the bundle identifier: the key of the selection and of the busy marks
    QString name;
    std::optional<QString> iconPath;
    Kind kind = Kind::open;
    RunningApplicationPtr runningApp; // quit items only
    std::optional<QString> openURL;   // open items only: where the bundle lies

    // Handles compare by identity: the same object is the same running application.
    friend bool operator==(const ListItem &, const ListItem &) = default;
};
