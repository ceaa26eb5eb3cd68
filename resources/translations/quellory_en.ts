<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>AppActionRow</name>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message numerus="yes">
        <source>Quellory, %n running app(s)</source>
        <translation>
            <numerusform>Quellory, %n running app</numerusform>
            <numerusform>Quellory, %n running apps</numerusform>
        </translation>
    </message>
    <message>
        <source>No Apps Running</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Running Apps</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Quellory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppcastUpdater</name>
    <message>
        <source>The update server took too long to answer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update server sent the request on to an address that isn&apos;t secure.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update server answered with an error: %1 %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update server %1 couldn&apos;t be found. Check that this computer is connected to the internet.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A secure connection to the update server %1 couldn&apos;t be made: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update server %1 couldn&apos;t be reached: %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update server&apos;s answer isn&apos;t an update feed (%1).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update feed doesn&apos;t list any version of Quellory for this system.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppsListFilter</name>
    <message>
        <source>No apps found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No results for &quot;%1&quot;</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppsListModel</name>
    <message>
        <source>Running</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not Running</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>AppsListSelection</name>
    <message numerus="yes">
        <source>%n App(s)</source>
        <translation>
            <numerusform>%n App</numerusform>
            <numerusform>%n Apps</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected to quit</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected to open</source>
        <translation type="unfinished">
            <numerusform></numerusform>
            <numerusform></numerusform>
        </translation>
    </message>
    <message>
        <source>Open %1 &amp; Quit %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DesktopAppLauncher</name>
    <message>
        <source>The application “%1” can’t be opened because its desktop entry is missing or damaged.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LaunchLoadingView</name>
    <message>
        <source>Loading apps…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainView</name>
    <message>
        <source>Search apps</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Clear search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QuelloryApp</name>
    <message>
        <source>About Quellory</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quellory %1
Lists the applications you run and quits them politely, and opens the ones you use most.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check for Updates…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsPopoverView</name>
    <message>
        <source>Launch at Login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start Quellory automatically when you sign in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Menu Bar Icon</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide the icon for a cleaner panel. Quellory stays in your task bar so you can reopen it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Facing issues? Contact us ↗</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Mail to email support</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>UpdateDialog</name>
    <message>
        <source>You&apos;re up to date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quellory %1 is the newest version available.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A new version of Quellory is available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quellory %1 is available — you have %2.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn&apos;t check for updates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Software Update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Download</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
