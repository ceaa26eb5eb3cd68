#pragma once

#include "SimulatedSession.h"
#include "views/AppsListActions.h"
#include "views/AppsListFilter.h"
#include "views/AppsListModel.h"
#include "views/AppsListSelection.h"
#include "views/AppsListView.h"

#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QVBoxLayout>

// A session with the application list's actions. start() installs Editor, Mail and Notes and runs
// Mail and Terminal, which refuse to quit so that the log tells the requests apart; launches asked
// of the workspace are written into the log too.
struct AppsListSession : SimulatedSession {
    static inline const QString editor = QStringLiteral("org.example.Editor");
    static inline const QString mail = QStringLiteral("org.example.Mail");
    static inline const QString notes = QStringLiteral("org.example.Notes");
    static inline const QString terminal = QStringLiteral("org.example.Terminal");

    AppsListActions actions{workspace, usage, bundles, time, log};
    std::shared_ptr<FakeRunningApplication> mailApp;
    std::shared_ptr<FakeRunningApplication> terminalApp;

    // Answers whether the catalog loaded.
    [[nodiscard]] bool start(const QStringList &extraInstalled = {}) {
        install(editor, "Editor");
        install(mail, "Mail");
        install(notes, "Notes");
        for (const QString &name : extraInstalled)
            install("org.example.extra." + name, name);
        if (!loadCatalog())
            return false;
        mailApp = launch(mail, "Mail", 10);
        terminalApp = launch(terminal, "Terminal", 11);
        mailApp->acceptsTerminate = terminalApp->acceptsTerminate = false;
        workspace.onOpen = [this](const QString &path) { log.lines << "open " + path; };
        return true;
    }

    // What the log says when every instance refuses to quit.
    static QStringList refusedQuit(const QString &bundleID, qint32 pid) {
        return {
            QStringLiteral("Quellory: terminate() refused for %1 pid=%2").arg(bundleID).arg(pid),
            QStringLiteral("Quellory: no terminate sent for %1 (sandboxed builds cannot quit "
                           "other apps)")
                .arg(bundleID)};
    }
};

// The list's rows and checkboxes over a session, as the main window builds them.
struct AppsListRows {
    explicit AppsListRows(AppsListSession &session)
        : model(session.monitor, session.catalog, session.usage, session.actions, session.bundles),
          filter(model), selection(session.actions, model, filter) {}

    AppsListModel model;
    AppsListFilter filter;
    AppsListSelection selection;
};

// The list in a window with a search field above it, as the main window has.
struct AppsListWindow : AppsListSession {
    QWidget window;
    QLineEdit *searchField = new QLineEdit(&window);
    AppsListView *view = nullptr;
    QListView *list = nullptr;

    // Answers whether the window came up.
    [[nodiscard]] bool show(const QStringList &extraInstalled = {}) {
        if (!start(extraInstalled))
            return false;
        view = new AppsListView(monitor, catalog, usage, icons, actions, bundles, &window);
        list = view->listView();
        auto *layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(searchField);
        layout->addWidget(view);
        QObject::connect(searchField, &QLineEdit::textChanged, view, &AppsListView::setSearchText);
        window.resize(460, 560);
        window.show();
        QApplication::setActiveWindow(&window);
        return QTest::qWaitForWindowActive(&window);
    }
};
