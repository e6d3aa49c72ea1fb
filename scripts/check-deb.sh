#!/usr/bin/env bash
# Builds the .deb from a configured build directory and checks it: its contents, its declared
# dependencies (installable on this machine, asked of apt without installing), and the three
# programs run from a scratch root the package is unpacked into.
set -euo pipefail
build=${1:-build/default}
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
deb="$build/package/kestrova_${version}_amd64.deb"
fail() { echo "check-deb: $*" >&2; exit 1; }

(cd "$build" && cpack -G DEB >/dev/null)
[ -f "$deb" ] || fail "no $deb"

contents=$(dpkg-deb -c "$deb" | awk '{print $6}')
for path in usr/bin/kestrova usr/bin/kestrova-headless usr/bin/kestrova-sim \
            usr/lib/kestrova/kestrova usr/lib/kestrova/kestrova-headless \
            usr/lib/kestrova/kestrova-sim usr/lib/kestrova/Manual/880731_eng.pdf \
            usr/share/applications/kestrova.desktop \
            usr/share/icons/hicolor/256x256/apps/kestrova.png; do
    grep -qx "./$path" <<<"$contents" || fail "$path missing from $deb"
done
depends=$(dpkg-deb -f "$deb" Depends)
for dep in libqt6widgets6 libqt6gui6 libqt6core6 libudev1 qt6-qpa-plugins; do
    grep -q "$dep" <<<"$depends" || fail "$dep not among the dependencies: $depends"
done
apt-get install --simulate --no-install-recommends "./$deb" >/dev/null ||
    fail "apt cannot install $deb here"

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"
bin="$root/usr/bin"
answer=$(printf 'IOL::Connect\n!advance 250\nConnectionState\n' | "$bin/kestrova-sim")
grep -q 'ONLINE+' <<<"$answer" || fail "kestrova-sim answered: $answer"
printf 'init 2\ntick 1000\nexpect StatusBar1 Panels(1).Text Connected\n' >"$root/check.khs"
"$bin/kestrova-headless" "$root/check.khs" >/dev/null || fail "kestrova-headless failed"
QT_QPA_PLATFORM=offscreen "$bin/kestrova" --page K5 --after 300 --screenshot "$root/shot.png" \
    2>/dev/null || fail "kestrova did not start"
[ -s "$root/shot.png" ] || fail "kestrova wrote no screenshot"
echo "check-deb: $deb ($(du -k "$deb" | cut -f1) KB) is complete and runs"
