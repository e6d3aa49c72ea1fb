#!/usr/bin/env bash
# Takes the pictures of every page in both languages with the desktop app's own --screenshot
# (Qt's offscreen platform, no display needed) into docs/screenshots.
set -euo pipefail
cd "$(dirname "$0")/.."
app=${1:-build/default/src/hosts/qt/kestrova}
out=docs/screenshots
mkdir -p "$out"
for language in en de; do
    for page in K1 K2 K3 K4 K5; do
        QT_QPA_PLATFORM=offscreen "$app" --language "$language" --page "$page" --after 1500 \
            --screenshot "$out/$page-$language.png" 2>/dev/null
    done
done
ls "$out"
