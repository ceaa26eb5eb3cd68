#!/usr/bin/python3
"""Reads and drives a program's window over AT-SPI, as a screen reader does; prints JSON lines.

  atspi_client.py PID describe
      The toolbar's search field and settings button, and the rows of the application list.
  atspi_client.py PID act ITEM CONTROL UNTIL
      Runs the action of the control named CONTROL in the list item named ITEM, then reports the
      events that follow until one of type UNTIL has come.
  atspi_client.py PID menu X Y KEY...
      Clicks at X, Y (the tray icon), presses the keys in turn (xdotool's names) and reports the
      menu items that the keyboard's focus reached, in order.

Every run finds the program and its controls afresh: object references die with the rows.
"""

import json
import subprocess
import sys

import pyatspi
from gi.repository import GLib

FIND_TIMEOUT_S = 10
EVENT_TIMEOUT_S = 20
# The program learns that a listener registered through a signal of the registry.
LISTENER_SETTLE_MS = 1500


def say(**fields):
    print(json.dumps(fields), flush=True)


def application(pid):
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.get_process_id() == pid:
            return app
    return None


def walk(node):
    yield node
    for index in range(node.childCount):
        child = node.getChildAtIndex(index)
        if child is not None:
            yield from walk(child)


def find(root, role, name=None):
    for node in walk(root):
        if node.getRoleName() == role and (name is None or node.name == name):
            return node
    return None


def app_list(app):
    """The list whose rows are headed by section headings."""
    for node in walk(app):
        if node.getRoleName() == "list" and any(
            row.getRoleName() == "heading" for row in node if row is not None
        ):
            return node
    return None


def actions(node):
    try:
        action = node.queryAction()
    except NotImplementedError:
        return []
    return [action.getName(index) for index in range(action.nActions)]


def control(node):
    if node is None:
        return None
    states = node.getState()
    return {
        "role": node.getRoleName(),
        "name": node.name,
        "checked": states.contains(pyatspi.STATE_CHECKED),
        "enabled": states.contains(pyatspi.STATE_ENABLED),
        "actions": actions(node),
    }


def row(node):
    described = control(node)
    if node.getRoleName() == "list item":
        described["checkbox"] = control(node.getChildAtIndex(0))
        described["button"] = control(node.getChildAtIndex(1))
    return described


def describe(app):
    rows = app_list(app)
    say(
        app=app.name,
        search=control(find(app, "text", "Search apps")),
        settings=control(find(app, "push button", "Settings")),
        rows=[row(node) for node in rows if node is not None] if rows else None,
    )


def act(app, item_name, control_name, until):
    rows = app_list(app)
    item = find(rows, "list item", item_name) if rows else None
    target = next((child for child in item or [] if child.name == control_name), None)
    if target is None:
        say(action=None, error="no control %r in %r" % (control_name, item_name))
        return
    seen = []

    def on_event(event):
        try:
            source = {"role": event.source.getRoleName(), "name": event.source.name}
        except Exception:  # the source may be gone by now
            source = None
        seen.append(event.type)
        say(event=event.type, source=source, detail1=event.detail1)
        if event.type.startswith(until):
            pyatspi.Registry.stop()

    def run_action():
        say(action=actions(target)[0], role=target.getRoleName(), name=target.name,
            done=target.queryAction().doAction(0))
        return False

    pyatspi.Registry.registerEventListener(
        on_event, "object:state-changed:checked", "object:children-changed")
    GLib.timeout_add(LISTENER_SETTLE_MS, run_action)
    GLib.timeout_add_seconds(EVENT_TIMEOUT_S, pyatspi.Registry.stop)
    pyatspi.Registry.start(gil=False)
    say(until=until, seen=any(kind.startswith(until) for kind in seen))


def menu(x, y, *keys):
    reached = []

    def on_focus(event):
        try:
            if event.detail1 == 1 and event.source.getRoleName() == "menu item":
                reached.append(event.source.name)
        except Exception:  # the source may be gone by now
            pass

    def press_keys():
        for key in keys:
            subprocess.run(["xdotool", "key", key], check=False)
        GLib.timeout_add(LISTENER_SETTLE_MS, pyatspi.Registry.stop)
        return False

    def open_menu():
        subprocess.run(["xdotool", "mousemove", x, y, "click", "1"], check=False)
        GLib.timeout_add(LISTENER_SETTLE_MS, press_keys)
        return False

    pyatspi.Registry.registerEventListener(on_focus, "object:state-changed:focused")
    GLib.timeout_add(LISTENER_SETTLE_MS, open_menu)
    GLib.timeout_add_seconds(EVENT_TIMEOUT_S, pyatspi.Registry.stop)
    pyatspi.Registry.start(gil=False)
    say(reached=reached)


def main():
    pid, command, *rest = sys.argv[1:]
    app = None
    deadline = GLib.get_monotonic_time() + FIND_TIMEOUT_S * 1000000
    while app is None and GLib.get_monotonic_time() < deadline:
        app = application(int(pid))
        if app is None:
            GLib.usleep(200000)
    if app is None:
        say(app=None)
        return 1
    if command == "describe":
        describe(app)
    elif command == "menu":
        menu(*rest)
    else:
        act(app, *rest)
    return 0


if __name__ == "__main__":
    sys.exit(main())
