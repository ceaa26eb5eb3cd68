#pragma once

// Finds out, when the user asks, whether a newer version of the program has been released, and
// tells the user. Nothing is checked in the background.
class Updater {
public:
    virtual ~Updater() = default;

    // Makes the updater ready; shows nothing. Answers false, and the updater stays unable to
    // check, when the program was built without an address to check at or the address is unusable.
    virtual bool startUpdater() = 0;
    // Whether checkForUpdates() would check now: once started, while no check is under way.
    virtual bool canCheckForUpdates() const = 0;
    // Starts a check and returns at once; its outcome (a newer version and where to get it, none,
    // or why the check failed) is shown to the user when it is known. Does nothing when
    // canCheckForUpdates() is false.
    virtual void checkForUpdates() = 0;
};
