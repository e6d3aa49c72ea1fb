#!/bin/sh
# Installs Kestrova silently into the test prefix, checks the files, the ProgID and that a frame
# opens the control from the installed place, uninstalls silently and checks nothing is left.
# Afterwards the build tree's library is registered again, as the other tests expect it.
#   installer-test.sh SETUP.EXE FRAME.EXE BUILD-OCX
set -eu
setup=$1 frame=$2
built="Z:$(printf '%s' "$3" | tr / '\\')"  # regsvr32 would take a leading slash for an option
run="$(dirname "$0")/wine-run.sh"
dir="$WINEPREFIX/drive_c/Kestrova"
fail() {
    echo "FAIL: $*"
    sh "$run" regsvr32 /s "$built" || true
    exit 1
}
query() { sh "$run" reg query "$1" /ve 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_SZ[[:space:]]*//p'; }

sh "$run" "$setup" /S '/D=C:\Kestrova'
wineserver -w
[ -f "$dir/Kestrova.ocx" ] || fail "Kestrova.ocx not installed"
[ -f "$dir/Uninstall.exe" ] || fail "no uninstaller"
sheets=$(ls "$dir/Manual"/*.pdf 2>/dev/null | wc -l)
[ "$sheets" -gt 0 ] || fail "no data sheets in Manual"
echo "installed: Kestrova.ocx, $sheets data sheets"

clsid=$(query 'HKCR\Kestrova.DTMGUI\CLSID')
[ -n "$clsid" ] || fail "the ProgID Kestrova.DTMGUI does not resolve"
server=$(query "HKCR\\CLSID\\$clsid\\InprocServer32")
echo "Kestrova.DTMGUI = $clsid, served by $server"
case "$server" in
    *[Kk]estrova\\Kestrova.ocx) ;;
    *) fail "the control is not served from the installed place: $server" ;;
esac
sh "$run" "$frame" --function 2 --run 300 || fail "the frame could not open the installed control"

sh "$run" "$dir/Uninstall.exe" /S
wineserver -w
[ ! -e "$dir" ] || fail "files left behind: $(ls -R "$dir")"
[ -z "$(query 'HKCR\Kestrova.DTMGUI\CLSID')" ] || fail "the ProgID is still registered"
[ -z "$(query "HKCR\\CLSID\\$clsid\\InprocServer32")" ] || fail "the class is still registered"
echo "uninstalled: no file and no key left"
sh "$run" regsvr32 /s "$built"
