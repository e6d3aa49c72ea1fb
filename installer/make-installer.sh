#!/bin/sh
# Builds the installer: the 64-bit library always, the 32-bit one when that build exists.
#   make-installer.sh OUTFILE OCX64 OCX32 MANUAL VERSION
set -eu
out=$1 ocx64=$2 ocx32=$3 manual=$4 version=$5
set -- -V2 -DOUTFILE="$out" -DOCX64="$ocx64" -DMANUAL="$manual" -DVERSION="$version"
[ -f "$ocx32" ] && set -- "$@" -DOCX32="$ocx32"
exec makensis "$@" "$(dirname "$0")/Kestrova.nsi"
