#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/run-tests.sh           developer build (RelWithDebInfo)
#   scripts/run-tests.sh asan      AddressSanitizer + UndefinedBehaviorSanitizer
#   scripts/run-tests.sh tsan      ThreadSanitizer, against a oneTBB built with it
#                                  (scripts/build-sanitized-tbb.sh, once)
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"
if [[ "$preset" == "tsan" ]]; then
  scripts/install-deps.sh --tsan
  scripts/build-sanitized-tbb.sh
else
  scripts/install-deps.sh
fi
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
