#!/usr/bin/env bash
# Ctrl-C during a long call: the call ends at once, with an error, and Octave lives on. A child process
# that ends meanwhile ends nothing.
#
#   interrupt_test.sh OCTAVE TOOLBOX FUNCTION      FUNCTION is transient_pressure or solve
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# (A command behind `!` does not end a script.)
must_lack() {
  if grep "$1" "$work/out"; then
    exit 1
  fi
}

case "$3" in
transient_pressure)
    compute='kavro.transient_pressure(elements, grid, medium, times, 64, pulse)' ;;
solve)
    compute="kavro.solve('fnm_tsd', elements, grid, medium, 'time', times, 'excitation', pulse)" ;;
esac

cat >"$work/long_call.m" <<CODE
addpath('$2');
medium = kavro.set_medium();
times = kavro.set_time_samples(1e-7, 0, 5e-5);
pulse = kavro.set_excitation_function('hanning pulse', 2e6, 1.5e-6);
grid = kavro.set_coordinate_grid(2e-4 * [1 1 1], -2e-2, 2e-2, 0, 0, 5e-3, 4e-2);
elements = kavro.linear_array(50, 2e-5, 5e-6);
undisturbed = $compute;
popen2('sleep', '0.1');
p = $compute;
assert(isequal(p, undisturbed));
elements = kavro.linear_array(2000, 2e-5, 5e-6);
popen2('sleep', '0.5');
disp('before'); fflush(stdout);
unwind_protect
  p = $compute;
  disp('completed');
unwind_protect_cleanup
  disp('left the call');
  elements = elements(1);
  grid = kavro.set_coordinate_grid([0 0 1e-2]);
  small = $compute;
  fprintf('%d samples after it\n', numel(small));
end_unwind_protect
CODE

OMP_NUM_THREADS=2 "$1" --no-init-file --norc --quiet "$work/long_call.m" >"$work/out" 2>&1 &
octave=$!
until grep -q before "$work/out"; do
  kill -0 "$octave" || { cat "$work/out" && exit 1; }
  sleep 0.1
done
sleep 1
must_lack 'left the call'
started=$(date +%s%N)
kill -INT "$octave"
wait "$octave" || true
milliseconds=$((($(date +%s%N) - started) / 1000000))

cat "$work/out"
echo "ended $milliseconds ms after the interrupt"
grep -q 'left the call' "$work/out"
grep -q '501 samples after it' "$work/out"
must_lack 'completed'
[ "$milliseconds" -lt 10000 ]
