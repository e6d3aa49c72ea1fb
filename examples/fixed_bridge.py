#!/usr/bin/env python3
"""A business object for Kestrova in a few lines: a fixed table of answers.

Run a host on it:  kestrova --bridge "python3 examples/fixed_bridge.py"
The protocol is in docs/bridge.md: one request line in, one answer line out, always.
"""
import sys

# SendCommand text -> answer line. Items and IO-Link commands alike.
ANSWERS = {
    "DTMDate": "text 2024-11-18",
    "DTMVersion": "text 0.1-fixed",
    "Language": "int 1033",
    "USBDevice": "text COM3",
    "GetProduct": "text 7c31 IO-Link USB Master",
    "USBRevision": "text 2.01",
    "ConnectionState": "text ONLINE+,TRUE",
    "IOL::Connect": "bool true",
    "IOL::Disconnect": "text OK:",
    "IOL::GetEvent": "text EMPTY:",
    # Direct parameter page 1 (16 bytes), then mode 1, baud code 2, outputs not valid.
    "IOL::GetMode": "text OK:1,153 23 35 17 0 0 0 1 0 0 0 0 0 0 0 0 1,2,0",
    "IOL::TransferImage Data=": "text OK:1,2 1 44 0",
    # Vendor name "Fixed Bridge Ltd" and product name "Demo" as decimal bytes.
    "IOL::Read Index=16 SubIndex=0": "text OK:16 70 105 120 101 100 32 66 114 105 100 103 101 32 76 116 100",
    "IOL::Read Index=18 SubIndex=0": "text OK:4 68 101 109 111",
}

# The USB inventory: one record per line, DeviceID, a tab, Name (escaped as \\, \t, \n).
INVENTORY = "USB\\VID_0403&PID_7C31\\FIXED01\tIO-Link USB Master (COM3)\n"


def escape(text):
    return text.replace("\\", "\\\\").replace("\t", "\\t").replace("\n", "\\n")


def answer(line):
    operation, _, rest = line.partition(" ")
    if operation == "SendCommand":
        if rest in ANSWERS:
            return ANSWERS[rest]
        if rest.startswith("IOL::"):
            return "text ERROR:32785"  # the device does not know this index
        return "error 5 Unknown item: " + escape(rest)
    if operation == "UsbInventory":
        return "text " + escape(INVENTORY)
    if operation in ("SetItem", "RegisterGui", "UnregisterGui", "CloseGui", "NotifyGuiReleased"):
        return "empty"
    return "error 5 not offered by this bridge: " + escape(operation)


for request in sys.stdin:
    print(answer(request.rstrip("\n")), flush=True)
