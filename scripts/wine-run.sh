#!/bin/sh
# Runs a Windows program under Wine for the tests: the build tree's prefix (WINEPREFIX), no debug
# output, no Mono/Gecko prompts, and no display unless KESTROVA_WINE_DISPLAY names one.
#   wine-run.sh PROGRAM [ARGS...]   run a program
#   wine-run.sh --boot              make a fresh prefix and wait until it is ready
#   wine-run.sh --wait              wait until every program of the prefix has ended
set -e
: "${WINEPREFIX:?WINEPREFIX must name the test prefix}"
export WINEPREFIX
export WINEARCH="${WINEARCH:-win64}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
if [ -n "${KESTROVA_WINE_DISPLAY:-}" ]; then export DISPLAY="$KESTROVA_WINE_DISPLAY"; else unset DISPLAY; fi
case "${1:-}" in
    --boot)
        wineserver -k 2>/dev/null || true
        rm -rf "$WINEPREFIX"
        wineboot -i
        exec wineserver -w ;;
    --wait)
        exec wineserver -w ;;
esac
exec wine "$@"
