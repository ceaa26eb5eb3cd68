#pragma once

#include "ClientWindow.h"
#include "DesktopEntryIndex.h"
#include "ProcessFacts.h"

#include <optional>
#include <span>

// Ties a process with windows to the desktop entry of its application, on the evidence that the
// desktop shells use, the strongest first.
class ApplicationMatcher {
public:
    enum class Rule {
        startupWMClass, // WM_CLASS (a Wayland app_id) equals an entry's StartupWMClass
        statedId,       // the window names its entry (_GTK_APPLICATION_ID, KDE's desktop file,
                        // a Wayland app_id)
        sandboxId,      // Flatpak or Snap runs it under an entry's ID
        wmClassAsId,    // WM_CLASS (a Wayland app_id) is an entry's ID, or a reverse-DNS part
        launchRecord,   // the desktop launched it from an entry
        commandLine,    // it runs an entry's Exec program
        windowClass,    // nothing matched: the window's class names it
    };

    struct Match {
        QString bundleIdentifier;
        QString name;
        std::optional<QString> path; // none when no entry was found
        Rule rule;
    };

    explicit ApplicationMatcher(const DesktopEntryIndex &index) : m_index(index) {}

    // The application of a process from all its windows, first hit winning; a window that
    // matches nothing takes the identity of another window of its process that does.
    Match match(std::span<const ClientWindow> windows, const ProcessFacts &facts) const;

private:
    const DesktopEntryIndex::Entry *byWindows(std::span<const ClientWindow> windows,
                                              Rule rule) const;
    const DesktopEntryIndex::Entry *byProcess(const ProcessFacts &facts, Rule rule) const;
    const DesktopEntryIndex::Entry *byClassAsId(const ClientWindow &window) const;

    const DesktopEntryIndex &m_index;
};
