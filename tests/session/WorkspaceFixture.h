#pragma once

#include "fakes/RecordingLog.h"
#include "platform/linux/freedesktop/DesktopEntryApplications.h"
#include "platform/linux/LinuxSession.h"
#include "platform/linux/session/SessionRunningApplication.h"
#include "platform/linux/session/SessionWorkspace.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

// The workspace that the program picks in a real session, over real desktop entries in a
// private XDG tree, and the ways a test finds the processes it started there.
class WorkspaceFixture {
protected:
    static constexpr int programStartMs = 15000;

    QTemporaryDir m_root;
    RecordingLog m_log;
    QThreadPool m_pool;
    std::unique_ptr<DesktopEntryApplications> m_bundles;
    std::unique_ptr<SessionWorkspace> m_workspace;

    QString applicationsFolder() const { return m_root.filePath("data/applications"); }
    // The user's entries: copies of these of the system's.
    bool makeEntries(const QStringList &systemIds) {
        if (!m_root.isValid() || !QDir().mkpath(applicationsFolder()) ||
            !QDir().mkpath(m_root.filePath("system")))
            return false;
        qputenv("XDG_DATA_HOME", m_root.filePath("data").toUtf8());
        return std::all_of(systemIds.begin(), systemIds.end(), [this](const QString &id) {
            return QFile::copy("/usr/share/applications/" + id + ".desktop",
                               applicationsFolder() + '/' + id + ".desktop");
        });
    }
    QString writeEntry(const QString &id, const QByteArray &lines) {
        const QString path = applicationsFolder() + '/' + id + ".desktop";
        const QByteArray contents = "[Desktop Entry]\nType=Application\n" + lines;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }
    // The catalog reads the user's entries only; programs started before keep the system's.
    void openWorkspace() {
        qputenv("XDG_DATA_DIRS", m_root.filePath("system").toUtf8());
        m_bundles = std::make_unique<DesktopEntryApplications>();
        m_workspace = LinuxSession::workspace(*m_bundles, m_log, m_pool);
    }

    static std::shared_ptr<SessionRunningApplication> handle(const RunningApplicationPtr &app) {
        return std::dynamic_pointer_cast<SessionRunningApplication>(app);
    }
    // The handle of a process once its windows are up, or null.
    std::shared_ptr<SessionRunningApplication> waitForProcess(qint64 processIdentifier) {
        RunningApplicationPtr found;
        [[maybe_unused]] const bool isUp = QTest::qWaitFor(
            [&] {
                m_workspace->runningApplications();
                return (found = m_workspace->runningApplication(qint32(processIdentifier))) !=
                       nullptr;
            },
            programStartMs);
        return handle(found);
    }
    QList<std::shared_ptr<SessionRunningApplication>> applicationsWhere(auto condition) {
        QList<std::shared_ptr<SessionRunningApplication>> found;
        for (const auto &application : m_workspace->runningApplications())
            if (condition(*application))
                found.append(handle(application));
        return found;
    }
    qsizetype countOf(qint64 processIdentifier) {
        return applicationsWhere([&](const RunningApplication &a) {
                   return a.processIdentifier() == processIdentifier;
               })
            .size();
    }
    QList<std::shared_ptr<SessionRunningApplication>> applicationsWithId(const QString &id) {
        return applicationsWhere(
            [&](const RunningApplication &a) { return a.bundleIdentifier() == id; });
    }
};
