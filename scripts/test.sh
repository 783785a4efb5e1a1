#!/usr/bin/env bash
# Checks the core's layers, sets everything up, builds with AddressSanitizer and
# UndefinedBehaviorSanitizer, runs a short round of every fuzz target, then every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# Seconds, and it needs no build: an include that goes up a layer of the core fails straight away.
"$root/scripts/check-layers.sh"
"$root/scripts/setup.sh"
# Warnings fail the build in continuous integration (CI set), as the option's default there says;
# said here too, so that a build folder configured before keeps no other value.
werror=OFF
if [ -n "${CI:-}" ]; then werror=ON; fi
"$root/scripts/build.sh" build-asan -DCMAKE_BUILD_TYPE=Debug -DPLUMEO_SANITIZE=ON -DPLUMEO_WERROR=$werror
# A few thousand inputs per parser: seconds in all. scripts/fuzz.sh SECONDS runs them for longer.
"$root/scripts/fuzz.sh" 20 3000
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1"
export LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export QT_QPA_PLATFORM=offscreen
cd "$root/build-asan"
ctest --output-on-failure --parallel "$(nproc)" --timeout 600
