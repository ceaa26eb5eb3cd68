/* Quellory's window list for GNOME Shell: the shell offers other programs no way to see its
 * windows, so this extension exports exactly what Quellory needs on the session bus and nothing
 * more: each managed window's application (as the shell itself names it), process, title and
 * kind, a signal when any of that changes, and the polite close and activate of a task bar. */
'use strict';

const {Gio, GLib, Meta, Shell} = imports.gi;
const Main = imports.ui.main;

const BUS_NAME = 'app.quellory.Quellory.Shell';
const OBJECT_PATH = '/app/quellory/Quellory/Shell';
const ERROR_PREFIX = 'app.quellory.Quellory.Shell.Error';

// ListWindows: (id, shell app id, pid, title, the window's own app_id or WM_CLASS, client type,
// skip-taskbar, window type) for every managed window, oldest first.
const INTERFACE_XML = `
<node>
  <interface name="app.quellory.Quellory.Shell">
    <method name="ListWindows">
      <arg type="a(tsisssbs)" direction="out" name="windows"/>
    </method>
    <method name="Close">
      <arg type="t" direction="in" name="id"/>
    </method>
    <method name="Activate">
      <arg type="t" direction="in" name="id"/>
    </method>
    <signal name="WindowsChanged"/>
  </interface>
</node>`;

// The properties of a window that ListWindows reports; a change to any of them is announced.
const WATCHED_PROPERTIES = ['title', 'wm-class', 'skip-taskbar', 'window-type'];

function windowTypeName(type) {
    const name = Object.keys(Meta.WindowType).find(key => Meta.WindowType[key] === type);
    return name ? name.toLowerCase() : 'unknown';
}

class WindowList {
    constructor() {
        this._tracker = Shell.WindowTracker.get_default();
        this._windowSignals = new Map();
        this._changePending = 0;
        this._dbus = Gio.DBusExportedObject.wrapJSObject(INTERFACE_XML, this);
    }

    enable() {
        for (const window of this._managedWindows())
            this._watch(window);
        this._displaySignal = global.display.connect('window-created',
            (display, window) => this._onWindowCreated(window));
        this._trackerSignal = this._tracker.connect('tracked-windows-changed',
            () => this._announce());
        this._dbus.export(Gio.DBus.session, OBJECT_PATH);
        this._nameId = Gio.bus_own_name_on_connection(Gio.DBus.session, BUS_NAME,
            Gio.BusNameOwnerFlags.NONE, null, null);
    }

    disable() {
        Gio.bus_unown_name(this._nameId);
        this._dbus.unexport();
        global.display.disconnect(this._displaySignal);
        this._tracker.disconnect(this._trackerSignal);
        for (const [window, ids] of this._windowSignals)
            ids.forEach(id => window.disconnect(id));
        this._windowSignals.clear();
        if (this._changePending)
            GLib.source_remove(this._changePending);
        this._changePending = 0;
    }

    ListWindows() {
        return this._managedWindows().map(window => {
            const app = this._tracker.get_window_app(window);
            const isWayland = window.get_client_type() === Meta.WindowClientType.WAYLAND;
            return [window.get_id(), app ? app.get_id() : `window:${window.get_id()}`,
                window.get_pid(), window.get_title() || '', window.get_wm_class() || '',
                isWayland ? 'wayland' : 'x11', window.is_skip_taskbar(),
                windowTypeName(window.get_window_type())];
        });
    }

    CloseAsync([id], invocation) {
        const window = this._window(id, invocation);
        if (!window)
            return;
        // Mutter kills an X11 client that does not take part in WM_DELETE_WINDOW, which is
        // invisible from here: X11 windows are closed over X11 by the caller, which can see it.
        if (window.get_client_type() !== Meta.WindowClientType.WAYLAND) {
            invocation.return_dbus_error(`${ERROR_PREFIX}.NotWayland`,
                'X11 windows are closed through the X server');
            return;
        }
        window.delete(global.get_current_time());
        invocation.return_value(null);
    }

    ActivateAsync([id], invocation) {
        const window = this._window(id, invocation);
        if (!window)
            return;
        Main.activateWindow(window);
        invocation.return_value(null);
    }

    _window(id, invocation) {
        const window = this._managedWindows().find(candidate => candidate.get_id() === id);
        if (!window)
            invocation.return_dbus_error(`${ERROR_PREFIX}.UnknownWindow`, `No window ${id}`);
        return window;
    }

    // Menus and tooltips are no windows of their own to a task bar.
    _managedWindows() {
        return global.display.list_all_windows()
            .filter(window => !window.is_override_redirect())
            .sort((a, b) => a.get_stable_sequence() - b.get_stable_sequence());
    }

    _onWindowCreated(window) {
        if (window.is_override_redirect())
            return;
        this._watch(window);
        this._announce();
    }

    _watch(window) {
        const ids = WATCHED_PROPERTIES.map(property =>
            window.connect(`notify::${property}`, () => this._announce()));
        ids.push(window.connect('unmanaged', () => {
            ids.forEach(id => window.disconnect(id));
            this._windowSignals.delete(window);
            this._announce();
        }));
        this._windowSignals.set(window, ids);
    }

    // Several changes in one main-loop turn (a window appears with its title and class) make one
    // signal.
    _announce() {
        if (this._changePending)
            return;
        this._changePending = GLib.idle_add(GLib.PRIORITY_DEFAULT_IDLE, () => {
            this._changePending = 0;
            this._dbus.emit_signal('WindowsChanged', null);
            return GLib.SOURCE_REMOVE;
        });
    }
}

class Extension {
    enable() {
        this._windows = new WindowList();
        this._windows.enable();
    }

    disable() {
        this._windows.disable();
        this._windows = null;
    }
}

// eslint-disable-next-line no-unused-vars
function init() {
    return new Extension();
}
