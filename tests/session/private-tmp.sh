#!/bin/sh
# Runs a command in a private mount and network namespace with its own /tmp, where the display
# that a compositor's Xwayland takes meets no other X server's. Only root can make one; anyone
# else runs the command as it is, and the compositor picks a free display.
if [ "$(id -u)" -eq 0 ] && [ "${1:-}" != --inside ]; then
    exec unshare --mount --net --propagation private -- "$0" --inside "$@"
fi
if [ "${1:-}" = --inside ]; then
    shift
    . "$(dirname "$0")/replace-tmp.sh"
    replace_tmp
fi
exec "$@"
