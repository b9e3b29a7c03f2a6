#!/bin/sh
# Pictures as a user makes them: a script draws a spectrum with the Plot
# module in a fresh directory; Ghostscript must render the EPS file without
# an error and xmllint must find the SVG file well-formed.  Each check is
# skipped (with a line saying so) when its tool is not installed.
#   run.sh SKELDA SCRIPT
skelda=$1
script=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cp "$script" "$(dirname "$script")/../scripts/check.lua" "$tmp/" || exit 1
cd "$tmp" || exit 1
"$skelda" "$(basename "$script")" >out.txt 2>&1 || { cat out.txt; exit 1; }
for f in *.eps; do
    if command -v gs >/dev/null 2>&1; then
        gs -q -dSAFER -dBATCH -dNOPAUSE -dEPSCrop -sDEVICE=png16m -r50 -sOutputFile=picture.png "$f" >gs.txt 2>&1 \
            || { echo "Ghostscript failed on $f"; cat gs.txt; exit 1; }
        [ -s picture.png ] || { echo "Ghostscript made no picture of $f"; exit 1; }
    else
        echo "ghostscript not installed: $f not rendered"
    fi
done
for f in *.svg; do
    if command -v xmllint >/dev/null 2>&1; then
        xmllint --noout "$f" || { echo "$f is not well-formed"; exit 1; }
    else
        echo "xmllint not installed: $f not checked"
    fi
done
echo "pictures checked"
