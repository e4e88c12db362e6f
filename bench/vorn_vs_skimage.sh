#!/bin/sh
# `vorn analyze` beside scikit-image on the files of bench/vorn_files.py, in
# one run: CPU seconds (user + system) and peak resident memory of the tool,
# CPU seconds of regionprops (after the file is read).
#
#   bench/vorn_vs_skimage.sh VORN DIR     # VORN: the built tool (Release)
set -eu
vorn=$1
dir=$2
here=$(dirname "$0")
python=/usr/bin/python3
$python "$here/vorn_files.py" write "$dir"
for file in small2d balls3d; do
    for options in "" --no-hull; do
        /usr/bin/time -f "vorn analyze $options $file.tif: %U s user, %S s system, %M KiB peak" \
            "$vorn" analyze $options "$dir/$file.tif" >/dev/null
    done
done
for file in small2d balls3d; do
    for kind in full moments; do
        $python "$here/vorn_files.py" time "$dir/$file.tif" $kind
    done
done
