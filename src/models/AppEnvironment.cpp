#include "AppEnvironment.h"

#include <QtGlobal>

namespace {
AppEnvironment &installed() {
    static AppEnvironment environment;
    return environment;
}
} // namespace

void AppEnvironment::install(const AppEnvironment &environment) {
    installed() = environment;
}

const AppEnvironment &AppEnvironment::current() {
    Q_ASSERT_X(installed().bundles, "AppEnvironment", "main() installs the platform first");
    return installed();
}
