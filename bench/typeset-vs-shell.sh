#!/usr/bin/env bash
# Times the whole typesetting job of plumeo-cli (engine, bibtex, engine, engine) on a project that
# needs BibTeX against the same four programs run one after another from this shell, with the same
# arguments and environment. Each round starts both from a fresh copy of the project, alternating
# which goes first; the medians and their ratio are printed.
#
#   bench/typeset-vs-shell.sh [PROJECT_FOLDER MAIN_FILE [ROUNDS]]
#
# Defaults: samples/thesis thesis.tex 7. PLUMEO_CLI names the binary (default
# build-release/src/cli/plumeo-cli); TEXBIN the TeX folder (default /usr/texbin).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
project=$(cd "${1:-$root/samples/thesis}" && pwd)
main=${2:-thesis.tex}
rounds=${3:-7}
cli=${PLUMEO_CLI:-$root/build-release/src/cli/plumeo-cli}
texbin=${TEXBIN:-/usr/texbin}
base=${main%.tex}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Default settings for the CLI, and no diagnostic lines.
export XDG_CONFIG_HOME="$work/config" QT_LOGGING_RULES='plumeo.*=false'

now() { date +%s%N; }

run_cli() {
  local folder=$1 start
  start=$(now)
  "$cli" typeset "$folder/$main" > /dev/null 2>&1 || true
  echo $(( $(now) - start ))
}

run_shell() {
  local folder=$1 start
  local engine=(-file-line-error -synctex=1 --interaction nonstopmode --shell-escape "$base")
  start=$(now)
  (
    cd "$folder"
    env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/pdflatex" "${engine[@]}" < /dev/null > /dev/null 2>&1 || true
    env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/bibtex" "$base" < /dev/null > /dev/null 2>&1 || true
    env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/pdflatex" "${engine[@]}" < /dev/null > /dev/null 2>&1 || true
    env -i TEXMFHOME="$HOME/Library/texmf" "$texbin/pdflatex" "${engine[@]}" < /dev/null > /dev/null 2>&1 || true
  )
  echo $(( $(now) - start ))
}

fresh() {
  rm -rf "$work/$1"
  cp -R "$project" "$work/$1"
  echo "$work/$1"
}

median() { sort -n | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }

# One warm-up of each, so that the file system cache holds the TeX tree for both.
run_cli "$(fresh warm-cli)" > /dev/null
run_shell "$(fresh warm-shell)" > /dev/null

cli_times=()
shell_times=()
for ((i = 0; i < rounds; i++)); do
  if ((i % 2 == 0)); then
    cli_times+=("$(run_cli "$(fresh cli)")")
    shell_times+=("$(run_shell "$(fresh shell)")")
  else
    shell_times+=("$(run_shell "$(fresh shell)")")
    cli_times+=("$(run_cli "$(fresh cli)")")
  fi
done

cli_median=$(printf '%s\n' "${cli_times[@]}" | median)
shell_median=$(printf '%s\n' "${shell_times[@]}" | median)
printf 'plumeo-cli typeset: %s ms (median of %d; runs: %s)\n' "$((cli_median / 1000000))" "$rounds" \
  "$(printf '%s ' "${cli_times[@]}" | awk '{ for (i = 1; i <= NF; i++) printf "%d ", $i / 1000000 }')"
printf 'shell script:       %s ms (median of %d; runs: %s)\n' "$((shell_median / 1000000))" "$rounds" \
  "$(printf '%s ' "${shell_times[@]}" | awk '{ for (i = 1; i <= NF; i++) printf "%d ", $i / 1000000 }')"
awk -v a="$cli_median" -v b="$shell_median" 'BEGIN { printf "ratio (plumeo-cli / shell): %.3f\n", a / b }'
