#!/bin/bash
# The wall-clock time of `vxcam transform --inverse` on 10^6 lines with one thread and with
# two, taking turns, and their ratio: the fastest run of each, the medians, and the median of
# the rounds' ratios (a run slowed by other work on the machine shows in the spread).
#
#   bench/tools/vxcam_threads.sh [VXCAM [ROUNDS]]
#
# VXCAM defaults to the test build's program, ROUNDS to 21. The input, 10^6 points scattered
# over the RC10's 230 mm frame, is written once to a temporary file; the output goes to
# /dev/null.
set -euo pipefail
here="$(cd "$(dirname "$0")/../.." && pwd)"
vxcam="${1:-$here/build/test/tools/vxcam/vxcam}"
rounds="${2:-21}"
camera="$here/examples/cameras/rc10_formula.yaml"
points="$(mktemp)"
trap 'rm -f "$points"' EXIT
awk 'BEGIN { n = 1000000; for (i = 0; i < n; ++i) { t = i / n; f = 7 * t - int(7 * t);
             printf "%.6f %.6f\n", -114 + 228 * f, -114 + 228 * t } }' > "$points"

for ((round = 0; round < rounds; ++round)); do
  for threads in 1 2; do
    start=$(date +%s.%N)
    "$vxcam" transform --inverse --threads "$threads" "$camera" < "$points" > /dev/null
    end=$(date +%s.%N)
    echo "$threads $start $end"
  done
done | /usr/bin/python3 -c '
import statistics, sys
times = {1: [], 2: []}
for line in sys.stdin:
    threads, start, end = line.split()
    times[int(threads)].append(float(end) - float(start))
one, two = times[1], times[2]
ratios = [a / b for a, b in zip(one, two)]
print("one thread:  fastest %.3f s, median %.3f s" % (min(one), statistics.median(one)))
print("two threads: fastest %.3f s, median %.3f s" % (min(two), statistics.median(two)))
print("two / one: fastest %.2f, median of the rounds %.2f (%.2f - %.2f)"
      % (min(one) / min(two), statistics.median(ratios), min(ratios), max(ratios)))'
echo "load average: $(cut -d" " -f1-3 /proc/loadavg)"
