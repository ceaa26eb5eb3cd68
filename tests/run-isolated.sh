#!/bin/sh
# Runs one test with a throwaway HOME and a private XDG_RUNTIME_DIR, removed afterwards.
set -u
scratch=$(mktemp -d "${TMPDIR:-/tmp}/quellory-test.XXXXXX") || exit 1
mkdir -m 700 "$scratch/home" "$scratch/runtime"
HOME="$scratch/home" XDG_RUNTIME_DIR="$scratch/runtime" \
    XDG_CONFIG_HOME="$scratch/home/.config" XDG_DATA_HOME="$scratch/home/.local/share" \
    XDG_CACHE_HOME="$scratch/home/.cache" "$@"
status=$?
rm -rf "$scratch"
exit $status
