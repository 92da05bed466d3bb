#!/usr/bin/env bash
# Installs the build tree into a fresh prefix, builds a small program against it
# with CMake and with pkg-config, runs both, and runs the installed tool.
#   consumer-test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
src=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/vimra-install-XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S "$src/consumer" -B "$work/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/consumer"

pc=$(find "$prefix" -name VIMRAIPLArithmetic.pc -printf '%h')
# shellcheck disable=SC2046
g++ "$src/consumer/main.cpp" -o "$work/pc-consumer" \
  $(PKG_CONFIG_PATH="$pc" pkg-config --cflags --libs VIMRAIPLArithmetic)
"$work/pc-consumer"

# The tool finds the installed libraries by itself.
"$prefix/bin/vimra-arith" list | grep -q '^  add '
echo "install test: ok"
