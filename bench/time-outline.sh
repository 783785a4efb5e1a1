#!/usr/bin/env bash
# Times `plumeo-cli outline` on generated projects, as minimum and median of RUNS runs.
# usage: bench/time-outline.sh cat [BUILD_FOLDER=build-release]
#          the 200-file project (5 MB) against `cat` reading the same files
#        bench/time-outline.sh scaling [BUILD_FOLDER=build-release]
#          projects of 1, 4 and 16 times 200 files and 5 MB: their times and the ratios to the first
#        RUNS (default 5) sets the number of runs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mode=${1:-cat}
build=${2:-$root/build-release}
runs=${RUNS:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export XDG_CONFIG_HOME=$work/config

# Elapsed and processor (user and system) milliseconds of each run of a command, a run a line:
# on a loaded machine the processor time is the steadier figure. Read from the child's resource
# usage to the microsecond; time(1) rounds it to 10 ms, as long as a whole small run.
times() {
  python3 - "$runs" "$@" <<'PY'
import resource, subprocess, sys, time
for _ in range(int(sys.argv[1])):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    subprocess.run(sys.argv[2:], stdout=subprocess.DEVNULL, check=True)
    elapsed = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    processor = after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime
    print(round(elapsed * 1000), round(processor * 1000))
PY
}
# "minimum median" of the elapsed times, then of the processor times.
summary() {
  local runs_seen
  runs_seen=$(cat)
  for column in 1 2; do
    cut -d' ' -f$column <<<"$runs_seen" | sort -n | awk '{ v[NR] = $1 } END { printf "%d %d ", v[1], v[int((NR + 1) / 2)] }'
  done
  echo
}

case $mode in
cat)
  python3 "$root/bench/generate-project.py" "$work/p" 200 5
  du -sh "$work/p" | cut -f1 | sed 's/^/project size: /'
  read -r omin omed ocmin ocmed < <(times "$build/src/cli/plumeo-cli" outline "$work/p/main.tex" --no-content | summary)
  read -r cmin cmed ccmin ccmed < <(times cat "$work"/p/main.tex "$work"/p/chapters/*.tex "$work"/p/refs.bib | summary)
  echo "plumeo-cli outline: elapsed min ${omin} ms, median ${omed} ms; processor min ${ocmin} ms, median ${ocmed} ms ($runs runs)"
  echo "cat of the same files: elapsed min ${cmin} ms, median ${cmed} ms; processor min ${ccmin} ms, median ${ccmed} ms"
  awk -v o="$omin" -v c="$cmin" 'BEGIN { printf "outline / cat (elapsed minima): %.2fx\n", o / (c > 0 ? c : 1) }'
  awk -v o="$ocmin" -v c="$ccmin" 'BEGIN { printf "outline / cat (processor minima): %.2fx\n", o / (c > 0 ? c : 1) }'
  ;;
scaling)
  for scale in 1 4 16; do
    python3 "$root/bench/generate-project.py" "$work/p$scale" $((200 * scale)) $((5 * scale))
    echo "$scale $(times "$build/src/cli/plumeo-cli" outline "$work/p$scale/main.tex" --no-content | summary)"
    rm -rf "$work/p$scale"
  done | awk '{ if (NR == 1) { b[2] = $2; b[3] = $3; b[4] = $4; b[5] = $5 }
               printf "%2dx (%5d files): elapsed min %6d ms, median %6d ms (ratio %.2f, %.2f); processor min %6d ms, median %6d ms (ratio %.2f, %.2f)\n",
                      $1, 200 * $1, $2, $3, $2 / b[2], $3 / b[3], $4, $5, $4 / (b[4] > 0 ? b[4] : 1), $5 / (b[5] > 0 ? b[5] : 1) }'
  ;;
*)
  echo "usage: $0 cat|scaling [BUILD_FOLDER]" >&2
  exit 2
  ;;
esac
