#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs one of them.
#   scripts/fuzz.sh <target> [seconds] [extra libFuzzer options...]
#   targets: archive, message_format
# The build lives in build/fuzz; the working corpus in build/fuzz/corpus/<target>,
# seeded from tests/framework/core/corpus/<target>; crashing inputs are written to
# build/fuzz/artifacts/<target>/. Runs at the lowest priority, on one core.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:?usage: scripts/fuzz.sh <archive|message_format> [seconds] [libFuzzer options...]}"
seconds="${2:-60}"
shift $(( $# < 2 ? $# : 2 ))
scripts/install-deps.sh --fuzz
clang="${CLANG:-clang++-14}"
build=build/fuzz
seeds="tests/framework/core/corpus/$target"
[[ -d "$seeds" ]] || { echo "unknown target $target (no $seeds)" >&2; exit 2; }

if [[ ! -f "$build/build.ninja" ]]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$clang" \
    -DVIMRA_FUZZ=ON -DVIMRA_BUILD_BENCH=OFF -DVIMRA_BUILD_EXAMPLES=OFF \
    -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
fi
nice -n 19 ninja -C "$build" -j"${FUZZ_BUILD_JOBS:-1}" "fuzz_$target"

corpus="$build/corpus/$target"
artifacts="$build/artifacts/$target"
mkdir -p "$corpus" "$artifacts"
cp -n "$seeds"/* "$corpus"/ 2>/dev/null || true
# Deep documents need a larger input than libFuzzer's default 4096 bytes; an
# input that takes a minute is a finding (the readers are linear; the margin is
# for a shared machine, where a process at the lowest priority may wait seconds).
exec nice -n 19 "$build/bin/fuzz_$target" -max_total_time="$seconds" -max_len=65536 \
  -timeout=60 -rss_limit_mb=2048 -artifact_prefix="$artifacts/" -print_final_stats=1 "$@" \
  "$corpus"
