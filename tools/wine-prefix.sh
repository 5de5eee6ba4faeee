#!/bin/bash
# Wine prefixes for the cross build's tests: each one a machine of its own.
#
#   wine-prefix.sh template PREFIX LIBRARY   make PREFIX (once) and register
#                                             LIBRARY in it with regsvr32
#   wine-prefix.sh copy TEMPLATE PREFIX       a fresh PREFIX from TEMPLATE
#
# A test program gets a copy of the template, as on Linux it gets a registry
# file of its own. The copy links the template's files rather than copying
# them (a prefix holds some 700 MB of system files the tests only read); the
# registry files, which tests change, are real copies.
set -euo pipefail
export WINEDEBUG="${WINEDEBUG:--all}"
wine=$(command -v wine || command -v wine64)

windows_path() { echo "Z:${1//\//\\}"; }

case "${1:-}" in
template)
    prefix=$2 library=$3
    export WINEPREFIX=$prefix
    if [[ ! -f $prefix/system.reg ]]; then
        mkdir -p "$prefix"
        # No offer to install Wine's .NET and HTML engines, which nothing here
        # uses and which would wait for an answer on a machine with a display.
        WINEDLLOVERRIDES="mscoree=;mshtml=" "$wine" wineboot --init >/dev/null 2>&1
    fi
    "$wine" regsvr32 /s "$(windows_path "$(realpath "$library")")"
    # The registry reaches its files only when the server ends.
    wineserver -w
    ;;
copy)
    template=$2 prefix=$3
    WINEPREFIX=$prefix wineserver -k 2>/dev/null || true
    rm -rf "$prefix"
    mkdir -p "$prefix"
    cp -al "$template/drive_c" "$prefix/"
    cp -a "$template/dosdevices" "$template"/*.reg "$prefix/"
    [[ -f $template/.update-timestamp ]] && cp -a "$template/.update-timestamp" "$prefix/"
    ;;
*)
    echo "usage: $0 template PREFIX LIBRARY | copy TEMPLATE PREFIX" >&2
    exit 1
    ;;
esac
