#!/bin/sh
# Registration round trip in the test prefix: a frame's FDT interface keys exist first;
# regsvr32 writes our class, ProgID and type library keys; a frame creates the control by its
# ProgID; regsvr32 /u removes every key of ours and leaves the frame's keys as they were. The
# control is registered again at the end for the tests that follow.
#   registration_test.sh WINE_RUN OCX FRAME
set -u
run=$1 ocx=$2 frame=$3
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
reg() { "$run" reg "$@" >/dev/null 2>&1; }
has() { reg query "$1" || fail "missing after registration: $1"; }
gone() { reg query "$1" && fail "left behind after unregistration: $1"; }

clsid='{4B2C88E9-55B8-4F15-87A6-D0BD5A5585DE}'
simulator='{FA10D627-2399-4265-B83E-B5233EA5446F}'
libid='{48697D2C-E598-4BB4-9B99-72F84FBFD2C9}'
idtm='HKCR\Interface\{036D1481-387B-11D4-86E1-00E0987270B9}'
iactivex='HKCR\Interface\{036D1486-387B-11D4-86E1-00E0987270B9}'

# The frame's own registration of the FDT interfaces.
reg add "$idtm" /ve /d IDtm /f || fail "cannot set up $idtm"
reg add "$idtm\\TypeLib" /ve /d '{FDT00000-0000-0000-0000-000000000000}' /f
reg add "$iactivex" /ve /d IDtmActiveXControl /f || fail "cannot set up $iactivex"

"$run" regsvr32 /s "$ocx" || fail "regsvr32 failed"
has "HKCR\\CLSID\\$clsid\\InprocServer32"
"$run" reg query "HKCR\\CLSID\\$clsid\\InprocServer32" /v ThreadingModel 2>/dev/null |
    grep -q 'Apartment' || fail "ThreadingModel is not Apartment"
has "HKCR\\CLSID\\$clsid\\Control"
has "HKCR\\CLSID\\$clsid\\TypeLib"
has "HKCR\\Kestrova.DTMGUI\\CLSID"
has "HKCR\\Kestrova.Simulator\\CLSID"
has "HKCR\\TypeLib\\$libid\\1.0"

out=$("$run" "$frame" --run 300 2>&1)
echo "$out" | grep -q '^init true' || fail "the frame could not use the registered control: $out"

"$run" regsvr32 /u /s "$ocx" || fail "regsvr32 /u failed"
gone "HKCR\\CLSID\\$clsid"
gone "HKCR\\CLSID\\$simulator"
gone "HKCR\\Kestrova.DTMGUI"
gone "HKCR\\Kestrova.Simulator"
gone "HKCR\\TypeLib\\$libid"
"$run" reg query "$idtm" /ve 2>/dev/null | grep -q 'IDtm' || fail "the frame's IDtm key was touched"
has "$idtm\\TypeLib"
"$run" reg query "$iactivex" /ve 2>/dev/null | grep -q 'IDtmActiveXControl' ||
    fail "the frame's IDtmActiveXControl key was touched"

out=$("$run" "$frame" --run 0 2>&1)
echo "$out" | grep -q 'creating' || fail "the control could still be created: $out"

"$run" regsvr32 /s "$ocx" || fail "registering again failed"
[ "$failures" -eq 0 ] && echo "registration round trip passed"
exit "$failures"
