#!/usr/bin/env bash
# Times `plumeo-cli outline` on a generated 200-file project against `cat` reading the same files.
# usage: bench/time-outline.sh [BUILD_FOLDER=build-release]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build-release}
project=$(mktemp -d)
trap 'rm -rf "$project"' EXIT
python3 "$root/bench/generate-project.py" "$project" 200 5
export XDG_CONFIG_HOME=$project/config
du -sh "$project" | cut -f1 | sed 's/^/project size: /'
runs=5
best() { sort -n | head -1; }
outline=$(for _ in $(seq $runs); do
  s=$(date +%s%N); "$build/src/cli/plumeo-cli" outline "$project/main.tex" --no-content >/dev/null; e=$(date +%s%N)
  echo $(( (e - s) / 1000000 ))
done | best)
reading=$(for _ in $(seq $runs); do
  s=$(date +%s%N); cat "$project"/main.tex "$project"/chapters/*.tex "$project"/refs.bib >/dev/null; e=$(date +%s%N)
  echo $(( (e - s) / 1000000 ))
done | best)
echo "plumeo-cli outline: ${outline} ms (best of $runs)"
echo "cat of the same files: ${reading} ms (best of $runs)"
