#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/run-tests.sh           developer build (RelWithDebInfo)
#   scripts/run-tests.sh asan      AddressSanitizer + UndefinedBehaviorSanitizer
#   scripts/run-tests.sh tsan      ThreadSanitizer
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"
scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
