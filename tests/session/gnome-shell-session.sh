#!/bin/sh
# Runs GNOME Shell headless for a test, inside the private mount and network namespace that
# `unshare --mount --net` gives it: the shell waits for logind when it sees /run/systemd and
# wants a system bus, and its Xwayland takes the first display free in /tmp. Then the shell runs
# as an unprivileged user, on a session bus whose configuration the test wrote, with the
# environment it was given (a home and runtime folder of its own).
# Arguments: the session folder (home, runtime, tmp, session-bus.conf) and the Wayland display.
set -eu
folder=$1
display=$2
user=65534

mount -t tmpfs -o mode=755 tmpfs /run/systemd
mount -t tmpfs -o mode=755 tmpfs /run/dbus
# The session sees only the extensions the test puts in its home, whatever the machine installed.
[ ! -d /usr/share/gnome-shell/extensions ] ||
    mount -t tmpfs -o mode=755 tmpfs /usr/share/gnome-shell/extensions
. "$(dirname "$0")/replace-tmp.sh"
replace_tmp "$folder/tmp"
# Xwayland wants the X socket folder that the system would have made for it.
mkdir -m 1777 /tmp/.X11-unix /tmp/.ICE-unix
dbus-daemon --system --fork --print-pid=3 3>"$folder/system-bus.pid"

status=0
setpriv --reuid=$user --regid=$user --clear-groups \
    dbus-run-session --config-file="$folder/session-bus.conf" -- \
    gnome-shell --headless --wayland --virtual-monitor 1280x800 --wayland-display "$display" ||
    status=$?
kill "$(cat "$folder/system-bus.pid")"
exit $status
