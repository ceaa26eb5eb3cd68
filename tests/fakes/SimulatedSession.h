#pragma once

#include "FakeApplicationBundles.h"
#include "FakeIconProvider.h"
#include "FakeWorkspace.h"
#include "MemoryDefaultsStore.h"
#include "models/AppCatalog.h"
#include "models/AppUsageStore.h"
#include "models/IconCache.h"
#include "models/WindowMonitor.h"
#include "RecordingLog.h"
#include "VirtualTime.h"

#include <QTest>
#include <QThreadPool>

// A user's session in simulation, with the models that follow it: installed applications in one
// folder, running ones that launch and end, and virtual time.
struct SimulatedSession {
    FakeApplicationBundles bundles;
    FakeIconProvider iconProvider;
    FakeWorkspace workspace;
    RecordingLog log;
    VirtualTime time;
    MemoryDefaultsStore defaults;
    QThreadPool pool;
    AppUsageStore usage{defaults, time, std::nullopt};
    WindowMonitor monitor{workspace, usage, time};
    IconCache icons{iconProvider, pool};
    AppCatalog catalog{bundles, icons, pool};

    SimulatedSession() {
        bundles.folders = {{folder, false}};
        monitor.startObserving();
    }

    static inline const QString folder = QStringLiteral("/apps");
    static QString pathOf(const QString &bundleID) { return folder + '/' + bundleID + ".app"; }

    // Before the catalog loads.
    void install(const QString &bundleID, const QString &name, bool isUtility = false) {
        BundleInfo info{bundleID, name, {}};
        info.isUtility = isUtility;
        bundles.add(folder, bundleID + ".app", info);
    }
    // Answers whether the catalog has published its entries.
    [[nodiscard]] bool loadCatalog() {
        catalog.loadIfNeeded();
        return QTest::qWaitFor([this] { return !catalog.isLoading(); });
    }

    // The application starts; what its launch sets off runs at once.
    std::shared_ptr<FakeRunningApplication> launch(const std::optional<QString> &bundleID,
                                                   const std::optional<QString> &name, qint32 pid) {
        auto application = FakeRunningApplication::make(bundleID, pid);
        application->name = name;
        workspace.launch(application);
        time.runPending();
        return application;
    }
    void end(const std::shared_ptr<FakeRunningApplication> &application) {
        workspace.end(application);
        time.runPending();
    }
};
