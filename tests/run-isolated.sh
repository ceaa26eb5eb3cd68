#!/bin/sh
# Runs one test with a throwaway HOME and a private XDG_RUNTIME_DIR, removed afterwards.
set -u
scratch=$(mktemp -d "${TMPDIR:-/tmp}/quellory-test.XXXXXX") || exit 1
mkdir -m 700 "$scratch/home" "$scratch/runtime"
HOME="$scratch/home" XDG_RUNTIME_DIR="$scratch/runtime" \
    XDG_CONFIG_HOME="$scratch/home/.config" XDG_DATA_HOME="$scratch/home/.local/share" \
    XDG_CACHE_HOME="$scratch/home/.cache" "$@"
status=$?
# The document portal that a GTK program wakes mounts itself in the runtime folder and may
# outlive the test's session bus.
if mountpoint -q "$scratch/runtime/doc" 2>/dev/null; then
    fusermount3 -u -z "$scratch/runtime/doc" 2>/dev/null || fusermount -u -z "$scratch/runtime/doc"
fi
rm -rf "$scratch"
exit $status
