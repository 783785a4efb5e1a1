#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (core library only, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each one: fuzz.sh SECONDS [RUNS]
# Each target runs for SECONDS at most, and stops after RUNS inputs when RUNS is given. Inputs that
# grow coverage are kept in build-fuzz/corpus; a crash leaves its input in build-fuzz/crashes and
# fails the script.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:?usage: fuzz.sh SECONDS [RUNS]}
runs=${2:--1}
CC=clang CXX=clang++ "$root/scripts/build.sh" build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPLUMEO_BUILD_FUZZERS=ON -DPLUMEO_BUILD_TESTS=OFF -DPLUMEO_BUILD_BENCHMARKS=OFF

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen

documents="$root/tests/data/typesetting/documents"
# The seeds of each target: the fixtures it reads in real use, read in place.
declare -A seeds=(
  [PLLatexStringParserFuzzer]="$documents $root/samples"
  [PLLatexHighlighterFuzzer]="$documents $root/samples"
  [PLBibliographyHighlighterFuzzer]="$documents $root/samples"
  [PLOutlineEditFuzzer]="$documents $root/samples"
  [PLLogStringParserFuzzer]="$documents"
  [PLTypesettingLogFileParserFuzzer]="$documents"
  [PLSyncTexFuzzer]="$root/fuzz/seeds/synctex"
  [PLPdfPageRotationsFuzzer]="$root/fuzz/seeds/pdf"
)

# The installed libsynctex loses a 32 KB buffer per scanner (see tests/lsan.supp): a long SyncTeX
# run grows by that much per input, which is the library's and not a fault to report.
declare -A memory=([PLSyncTexFuzzer]=-rss_limit_mb=0)

mkdir -p "$root/build-fuzz/crashes"
for target in $(printf "%s\n" "${!seeds[@]}" | sort); do
  corpus="$root/build-fuzz/corpus/$target"
  log="$root/build-fuzz/$target.log"
  mkdir -p "$corpus"
  # The first folder receives new inputs; the fixtures are only read.
  # shellcheck disable=SC2086
  if ! "$root/build-fuzz/fuzz/$target" -runs="$runs" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
      ${memory[$target]:-} -artifact_prefix="$root/build-fuzz/crashes/$target-" "$corpus" ${seeds[$target]} \
      >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "$target: FAILED, see $log and build-fuzz/crashes/" >&2
    exit 1
  fi
  done_line=$(grep -E '^Done [0-9]+ runs' "$log" | tail -n 1)
  echo "$target: $(echo "$done_line" | awk '{print $2}') inputs ran clean in $(echo "$done_line" | awk '{print $5}') s"
done
