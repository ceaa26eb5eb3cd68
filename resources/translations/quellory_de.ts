<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AppActionRow</name>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation>%1 beenden</translation>
    </message>
    <message>
        <source>Open %1</source>
        <translation>%1 öffnen</translation>
    </message>
</context>
<context>
    <name>AppDelegate</name>
    <message numerus="yes">
        <source>Quellory, %n running app(s)</source>
        <translation>
            <numerusform>Quellory, %n laufende App</numerusform>
            <numerusform>Quellory, %n laufende Apps</numerusform>
        </translation>
    </message>
    <message>
        <source>No Apps Running</source>
        <translation>Keine laufenden Apps</translation>
    </message>
    <message>
        <source>Running Apps</source>
        <translation>Laufende Apps</translation>
    </message>
    <message>
        <source>Open Quellory</source>
        <translation>Quellory öffnen</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation>%1 beenden</translation>
    </message>
</context>
<context>
    <name>AppcastUpdater</name>
    <message>
        <source>The update server took too long to answer.</source>
        <translation>Der Update-Server hat zu lange nicht geantwortet.</translation>
    </message>
    <message>
        <source>The update server sent the request on to an address that isn&apos;t secure.</source>
        <translation>Der Update-Server hat die Anfrage an eine unsichere Adresse weitergeleitet.</translation>
    </message>
    <message>
        <source>The update server answered with an error: %1 %2.</source>
        <translation>Der Update-Server hat mit einem Fehler geantwortet: %1 %2.</translation>
    </message>
    <message>
        <source>The update server %1 couldn&apos;t be found. Check that this computer is connected to the internet.</source>
        <translation>Der Update-Server %1 wurde nicht gefunden. Prüfen Sie, ob dieser Computer mit dem Internet verbunden ist.</translation>
    </message>
    <message>
        <source>A secure connection to the update server %1 couldn&apos;t be made: %2.</source>
        <translation>Zum Update-Server %1 konnte keine sichere Verbindung hergestellt werden: %2.</translation>
    </message>
    <message>
        <source>The update server %1 couldn&apos;t be reached: %2.</source>
        <translation>Der Update-Server %1 war nicht erreichbar: %2.</translation>
    </message>
    <message>
        <source>The update server&apos;s answer isn&apos;t an update feed (%1).</source>
        <translation>Die Antwort des Update-Servers ist kein Update-Feed (%1).</translation>
    </message>
    <message>
        <source>The update feed doesn&apos;t list any version of Quellory for this system.</source>
        <translation>Der Update-Feed nennt keine Version von Quellory für dieses System.</translation>
    </message>
</context>
<context>
    <name>AppsListFilter</name>
    <message>
        <source>No apps found</source>
        <translation>Keine Apps gefunden</translation>
    </message>
    <message>
        <source>No results for &quot;%1&quot;</source>
        <translation>Keine Ergebnisse für „%1“</translation>
    </message>
</context>
<context>
    <name>AppsListModel</name>
    <message>
        <source>Running</source>
        <translation>Laufend</translation>
    </message>
    <message>
        <source>Not Running</source>
        <translation>Nicht laufend</translation>
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
        <translation>
            <numerusform>%n zum Beenden ausgewählt</numerusform>
            <numerusform>%n zum Beenden ausgewählt</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected</source>
        <translation>
            <numerusform>%n ausgewählt</numerusform>
            <numerusform>%n ausgewählt</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n selected to open</source>
        <translation>
            <numerusform>%n zum Öffnen ausgewählt</numerusform>
            <numerusform>%n zum Öffnen ausgewählt</numerusform>
        </translation>
    </message>
    <message>
        <source>Open %1 &amp; Quit %2</source>
        <translation>%1 öffnen &amp; %2 beenden</translation>
    </message>
    <message>
        <source>Open %1</source>
        <translation>%1 öffnen</translation>
    </message>
    <message>
        <source>Quit %1</source>
        <translation>%1 beenden</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
</context>
<context>
    <name>DesktopAppLauncher</name>
    <message>
        <source>The application “%1” can’t be opened because its desktop entry is missing or damaged.</source>
        <translation>Das Programm „%1“ kann nicht geöffnet werden, weil sein Desktop-Eintrag fehlt oder beschädigt ist.</translation>
    </message>
</context>
<context>
    <name>LaunchLoadingView</name>
    <message>
        <source>Loading apps…</source>
        <translation>Apps werden geladen …</translation>
    </message>
</context>
<context>
    <name>MainView</name>
    <message>
        <source>Search apps</source>
        <translation>Apps suchen</translation>
    </message>
    <message>
        <source>Clear search</source>
        <translation>Suche löschen</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>QuelloryApp</name>
    <message>
        <source>About Quellory</source>
        <translation>Über Quellory</translation>
    </message>
    <message>
        <source>Quellory %1
Lists the applications you run and quits them politely, and opens the ones you use most.</source>
        <translation>Quellory %1
Zeigt die Programme, die Sie ausführen, beendet sie höflich und öffnet die, die Sie am häufigsten nutzen.</translation>
    </message>
    <message>
        <source>Check for Updates…</source>
        <translation>Nach Updates suchen …</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
</context>
<context>
    <name>SettingsPopoverView</name>
    <message>
        <source>Launch at Login</source>
        <translation>Beim Anmelden starten</translation>
    </message>
    <message>
        <source>Start Quellory automatically when you sign in.</source>
        <translation>Quellory automatisch starten, wenn Sie sich anmelden.</translation>
    </message>
    <message>
        <source>Show Menu Bar Icon</source>
        <translation>Symbol in der Leiste zeigen</translation>
    </message>
    <message>
        <source>Hide the icon for a cleaner panel. Quellory stays in your task bar so you can reopen it.</source>
        <translation>Blenden Sie das Symbol für eine aufgeräumte Leiste aus. Quellory bleibt in Ihrer Taskleiste, damit Sie es wieder öffnen können.</translation>
    </message>
    <message>
        <source>Facing issues? Contact us ↗</source>
        <translation>Probleme? Schreiben Sie uns ↗</translation>
    </message>
    <message>
        <source>Open Mail to email support</source>
        <translation>Eine E-Mail an den Support schreiben</translation>
    </message>
</context>
<context>
    <name>UpdateDialog</name>
    <message>
        <source>You&apos;re up to date</source>
        <translation>Sie sind auf dem neuesten Stand</translation>
    </message>
    <message>
        <source>Quellory %1 is the newest version available.</source>
        <translation>Quellory %1 ist die neueste verfügbare Version.</translation>
    </message>
    <message>
        <source>A new version of Quellory is available</source>
        <translation>Eine neue Version von Quellory ist verfügbar</translation>
    </message>
    <message>
        <source>Quellory %1 is available — you have %2.</source>
        <translation>Quellory %1 ist verfügbar – Sie haben %2.</translation>
    </message>
    <message>
        <source>Couldn&apos;t check for updates</source>
        <translation>Die Suche nach Updates ist fehlgeschlagen</translation>
    </message>
    <message>
        <source>Software Update</source>
        <translation>Softwareaktualisierung</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Herunterladen</translation>
    </message>
</context>
</TS>
