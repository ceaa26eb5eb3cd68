# Sourced by the scripts that give a test's session a /tmp of its own, inside a private mount
# namespace, as root. A checkout may itself lie under /tmp (a CI clone often does): the folder that
# holds it stays visible in the new /tmp, so that the session still reaches the programs it runs.
# replace_tmp [FOLDER]: FOLDER becomes /tmp; without one, an empty tmpfs does.
replace_tmp() {
    checkout=$(realpath "$(dirname "$0")/../..")
    kept= holder=
    case "$checkout" in
    /tmp/?*)
        kept=/tmp/$(printf '%s' "${checkout#/tmp/}" | cut -d/ -f1)
        holder=$(mktemp -d /var/tmp/quellory-kept.XXXXXX)
        mount --bind "$kept" "$holder"
        ;;
    esac
    if [ -n "${1:-}" ]; then
        mount --bind "$1" /tmp
    else
        mount -t tmpfs tmpfs /tmp
    fi
    if [ -n "$kept" ]; then
        mkdir -p "$kept"
        mount --move "$holder" "$kept"
        rmdir "$holder"
    fi
}
