#!/usr/bin/env bash
# Writes the seed corpora (fuzz/corpus/*) from real sessions with the simulated master: the
# simulator's answers become the fuzz inputs' answer lines. Run after building the fuzz preset:
#   fuzz/make_seeds.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")"
build=$(realpath "${1:-../build/fuzz}")
sim="$build/src/sim/kestrova-sim"
headless="$build/src/hosts/headless/kestrova-headless"
rm -rf corpus && mkdir -p corpus/channel corpus/control corpus/init corpus/entry corpus/bridge_protocol

# The simulator's answer to each command line (control lines starting with "!" answer nothing).
answers() { "$sim" | sed '/^$/d'; }

# channel: "@operation" lines, each followed by the answers its commands got.
channel() {  # NAME OPERATION... with "|"-separated commands after each "=" (one seed per call)
    local name=$1; shift
    local prelude='IOL::Connect
!advance 250
!event 0x8C10 4 32 192
!event 16 1 16 64'
    {
        for step in "$@"; do
            echo "@${step%%=*}"
            local commands
            commands=$(tr '|' '\n' <<<"${step#*=}" | sed '/^$/d')
            [ -z "$commands" ] && continue
            # The prelude's one answer (IOL::Connect) first, then the step's own.
            printf '%s\n%s\n' "$prelude" "$commands" | answers | tail -n +2
        done
    } >"corpus/channel/$name"
}
channel binding 'bind=DTMDate|DTMVersion' 'language=Language' 'online=ConnectionState'
channel read 'state 3=' 'read 16 0=IOL::Read Index=16 SubIndex=0' \
    'read 99 0=IOL::Read Index=99 SubIndex=0' 'names=IOL::Read Index=16 SubIndex=0|IOL::Read Index=18 SubIndex=0|IOL::Read Index=20 SubIndex=0'
channel mode 'state 3=' 'info=IOL::GetMode' 'lengths=' 'exchange=IOL::TransferImage Data='
channel image 'getmode=IOL::GetMode' 'transfer 0=IOL::TransferImage Data=' \
    'outputimage 2=IOL::ReadOutputImage' 'readoutputs=IOL::ReadOutputImage'
channel events 'getevent=IOL::GetEvent' 'events=IOL::GetEvent|IOL::GetEvent|IOL::GetEvent'
channel commands 'connect=IOL::Connect' 'setmode 3 0=IOL::SetMode Mode=3 Cycle=0' \
    'changecycle 20=IOL::ChangeCycle Cycle=20' 'write 24 0 65 66=IOL::Write Index=24 SubIndex=0 Data=41 42' \
    'disconnect=IOL::Disconnect'
printf '@online\n!raise -2147467259 gone\n@read 16 0\nERROR:32785\n@getmode\nOK:1,x\n@getevent\nOK:1,26,1,2147483647,2147483647,1,0\n@events\n!null\n' \
    >corpus/channel/failures

# control: a session's script lines, each followed by the answers the business object gave.
control() {  # NAME SCRIPT
    local name=$1 script=$2 line
    {
        while IFS= read -r line; do
            [ -z "$line" ] && continue
            printf '%s\ntraffic\n' "$line"
        done <<<"$script"
    } | { "$headless" --echo - 2>/dev/null || true; } | awk '
        /^\$ traffic$/ { next }
        /^\$ / { print substr($0, 3); next }
        /^< / { print }' >"corpus/control/$name"
}
control expert 'init 2
tick 1000
node K2
tick 600
node K3
tick 900
click IOLinkData1.UCProcessData1.OptionAnzeige(1)
tick 300
node K4
tick 300
type IOLinkParam1.UCParameter1.TextRdIndex 16
type IOLinkParam1.UCParameter1.TextRdSubIndex 0
click IOLinkParam1.UCParameter1.Option1(3)
click IOLinkParam1.UCParameter1.Command1
tick 400
node K5
tick 300
node K1
tick 300
release'
control events 'sim event 0x8C10 4 32 192
sim event 26 1 0 0
init 2 1031
tick 600
node K3
tick 1500
click IOLinkData1.UCEventData1.Command1
tick 300
click IOLinkData1.IOLinkCommunication1.BTFallback
tick 600
click IOLinkData1.IOLinkCommunication1.BTStart
tick 900
type IOLinkData1.IOLinkCommunication1.TextTarget 12.5
tick 300'
control actuator 'sim profile actuator
init 2
tick 1000
node K3
tick 600
click IOLinkData1.UCProcessData1.CheckAutoUpdate
type IOLinkData1.UCProcessData1.TextOutputs 1 2
click IOLinkData1.UCProcessData1.CheckValid
click IOLinkData1.UCProcessData1.BTWrite
tick 600
click IOLinkData1.UCProcessData1.BTRead
tick 300'
control configure 'init 1
tick 1000
sim unplug
tick 600
sim plug 7c33 COM4
tick 1200
node K5
tick 300'
control about 'init 3 1031
tick 900
resize 6000 4000
tick 300'

# The event panel once summed an event's type and mode in 32 bits: two events whose parts are
# both 2147483647 (the first, numbered 0, is not listed) keep that in every run.
awk '/^tick 900$/ { armed = 1 }
     armed && $0 == "< EMPTY:" {
         for (i = 0; i < 2; i++) print "< OK:1,26,1,2147483647,2147483647,1,0"
         armed = 0
     }
     { print }' corpus/control/expert >corpus/control/extreme_event

# init: a function-call text, "%%", then the answers of the session it opens.
for id in 1 2 3 7; do
    {
        echo "<FDT xmlns=\"x-schema:DTMFunctionCallSchema.xml\"><FunctionCall functionId=\"$id\"/></FDT>"
        echo "%%"
        printf 'init %s\ntick 1000\ntraffic\n' "$id" | { "$headless" - 2>/dev/null || true; } | grep '^< ' | cut -c3-
    } >"corpus/init/function$id"
done
printf '<FDT><FunctionCall functionId="2"\n%%%%\n!raise 91 gone\n' >corpus/init/unterminated
printf 'functionId=" 40000 "\n%%%%\n' >corpus/init/overflow

# bridge_protocol: the expert session's answers as answer lines, the requests a control sends,
# and an inventory.
{
    grep '^< ' corpus/control/expert | sed 's/^< /text /' | head -40
    printf 'bool true\nint 1033\nreal 2.5\nempty\nnull\nerror -2147467259 no answer\n'
} >corpus/bridge_protocol/answers
cat >corpus/bridge_protocol/requests <<'LINES'
SendCommand IOL::Read Index=16 SubIndex=0
SendCommand IOL::Write Index=24 SubIndex=0 Data=41 42
SetItem LOGGER text Plugcheck wird durchgeführt
SetItem USBDevice text COM3
RegisterGui Kestrova.DTMGUI invoke-1
UnregisterGui invoke-1
CloseGui invoke-1
NotifyGuiReleased
UsbInventory
Clock
Control plug 7c32 COM4
LINES
printf 'USB\\VID_0403&PID_7C31\\SNCOM3\tIO-Link USB Master (COM3)\nUSB\\VID_0403&PID_7C33\\SNCOM4\tIO-Link USB Master (COM4)\n' \
    >corpus/bridge_protocol/inventory

# entry: entry texts as users type them (the parser flags come from the input's last bytes).
for text in '16' '0x10' '255 0 7' '0x1F 0xa 0X0' '&HFF' '1,5' '2.3' '-1' '65535 1' 'ab cd' \
    'Tarnwick' '01010101' '0x1,' '  12  '; do
    printf '%s' "$text" >"corpus/entry/$(printf '%s' "$text" | md5sum | cut -c1-12)"
done
