#!/usr/bin/env bash
# Sets everything up, builds and starts Plumeo on the given files (the sample project by default).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLUMEO_BUILD_TESTS=OFF -DPLUMEO_BUILD_BENCHMARKS=OFF
if [ "$#" -eq 0 ]; then
  set -- "$root/samples/thesis/thesis.tex"
fi
exec "$root/build/src/app/plumeo" "$@"
