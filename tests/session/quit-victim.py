#!/usr/bin/python3
# A program without windows that exports its own Quit on the session bus, as a GApplication
# does, under the name org.quellory.test.Victim. It runs until that action is activated.
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio  # noqa: E402

application = Gio.Application(application_id="org.quellory.test.Victim")


def quit_now(action, parameter):
    print("quit", flush=True)
    application.quit()


quit_action = Gio.SimpleAction.new("quit", None)
quit_action.connect("activate", quit_now)
application.add_action(quit_action)
application.connect("activate", lambda app: app.hold())
sys.exit(application.run(sys.argv))
