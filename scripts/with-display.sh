#!/bin/sh
# Runs a command with a private X display for the Windows programs under Wine: starts Xvfb on a
# display number the server picks itself (so runs side by side never collide), exports it as
# KESTROVA_WINE_DISPLAY and stops the server afterwards.
#   with-display.sh COMMAND [ARGS...]
set -e
dir=$(mktemp -d)
trap 'kill "$pid" 2>/dev/null || true; rm -rf "$dir"' EXIT
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$dir/display" >"$dir/log" 2>&1 &
pid=$!
for _ in $(seq 50); do
    [ -s "$dir/display" ] && break
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
done
if [ ! -s "$dir/display" ]; then
    echo "with-display.sh: Xvfb did not start:" >&2
    cat "$dir/log" >&2
    exit 1
fi
KESTROVA_WINE_DISPLAY=":$(cat "$dir/display")"
export KESTROVA_WINE_DISPLAY
"$@"
