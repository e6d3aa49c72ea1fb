#!/bin/sh
# Checks pictures the frame saved: each exists, has the size given and is not blank (it shows
# more than a handful of colours).
#   check-pictures.sh WIDTHxHEIGHT FILE...
set -e
size=$1
shift
status=0
for file in "$@"; do
    if [ ! -s "$file" ]; then
        echo "$file: missing"
        status=1
        continue
    fi
    set -- $(identify -format '%w %h %k' "$file")
    if [ "$1x$2" != "$size" ]; then
        echo "$file: $1x$2, want $size"
        status=1
    elif [ "$3" -lt 64 ]; then
        echo "$file: only $3 colours, it looks blank"
        status=1
    else
        echo "$file: $1x$2, $3 colours"
    fi
done
exit $status
