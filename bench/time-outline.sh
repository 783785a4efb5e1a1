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

# Milliseconds of each of the runs of a command, one a line.
times() {
  for _ in $(seq "$runs"); do
    s=$(date +%s%N); "$@" >/dev/null; e=$(date +%s%N)
    echo $(( (e - s) / 1000000 ))
  done
}
# "minimum median" of numbers, one a line.
summary() { sort -n | awk '{ v[NR] = $1 } END { print v[1], v[int((NR + 1) / 2)] }'; }
outline() { "$build/src/cli/plumeo-cli" outline "$1/main.tex" --no-content; }
reading() { cat "$1"/main.tex "$1"/chapters/*.tex "$1"/refs.bib; }

case $mode in
cat)
  python3 "$root/bench/generate-project.py" "$work/p" 200 5
  du -sh "$work/p" | cut -f1 | sed 's/^/project size: /'
  read -r omin omed < <(times outline "$work/p" | summary)
  read -r cmin cmed < <(times reading "$work/p" | summary)
  echo "plumeo-cli outline: min ${omin} ms, median ${omed} ms ($runs runs)"
  echo "cat of the same files: min ${cmin} ms, median ${cmed} ms ($runs runs)"
  awk -v o="$omin" -v c="$cmin" 'BEGIN { printf "outline / cat (minima): %.2fx\n", o / (c > 0 ? c : 1) }'
  ;;
scaling)
  for scale in 1 4 16; do
    python3 "$root/bench/generate-project.py" "$work/p$scale" $((200 * scale)) $((5 * scale))
    read -r min med < <(times outline "$work/p$scale" | summary)
    echo "$scale $min $med"
  done | awk '{ if (NR == 1) { bmin = $2; bmed = $3 }
               printf "%2dx (%5d files): min %6d ms, median %6d ms; ratio to 1x: min %.2f, median %.2f\n",
                      $1, 200 * $1, $2, $3, $2 / bmin, $3 / bmed }'
  ;;
*)
  echo "usage: $0 cat|scaling [BUILD_FOLDER]" >&2
  exit 2
  ;;
esac
