#!/usr/bin/env bash
# Checks the core's layers, sets everything up, builds with AddressSanitizer and
# UndefinedBehaviorSanitizer, runs a short round of every fuzz target, then every test; then the
# threaded tests under ThreadSanitizer.
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

# The tests of the code that runs work on other threads (typesetting jobs, PDF rendering, the
# notification centre, the panes), once more under ThreadSanitizer. The Qt libraries are not built
# with it: their own accesses and locks are invisible to it, so reports are kept to our code.
# Line tables (-g1) are all a report needs; full debug information made this build a fifth slower
# to compile and its objects twice as big.
tsan_tests=(test_core_foundation test_core_typesetting test_ui_editor test_ui_typesetting test_ui_window)
"$root/scripts/build.sh" build-tsan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1 -DPLUMEO_SANITIZE=thread \
  -DPLUMEO_WERROR=$werror -DPLUMEO_BUILD_BENCHMARKS=OFF -- "${tsan_tests[@]}"
export TSAN_OPTIONS="halt_on_error=1:exitcode=66:ignore_noninstrumented_modules=1:second_deadlock_stack=1"
for test in "${tsan_tests[@]}"; do
  GTEST_BRIEF=1 "$root/build-tsan/tests/$test"
done
