#!/usr/bin/env bash
# Installs what is missing, builds in release mode and runs the example on generated images.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target vimra_example
./build/release/bin/vimra_example "$@"
