#!/usr/bin/env bash
# A picture of the examples that does not fit on the disk ends the example with an error.
#
#   full_disk_test.sh OCTAVE EXAMPLES
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

draw() {
  "$1" --no-init-file --norc --quiet --eval "
    addpath('$2');
    warning('off', 'Octave:gnuplot-graphics');
    fig = figure('visible', 'off', 'position', [100 100 700 700]);
    imagesc(rand(100));
    save_picture(fig, '$work/picture.png');
    disp('saved');" >"$work/out" 2>&1
}

draw "$@"
grep -q saved "$work/out"
# No file may grow beyond 40 KiB: what is behind cannot be written, as on a full disk.
if (trap '' XFSZ && ulimit -f 40 && draw "$@"); then
  cat "$work/out"
  exit 1
fi
grep 'could not be written' "$work/out"
