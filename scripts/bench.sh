#!/usr/bin/env bash
# Builds the benchmarks in release mode, measures the memory bandwidth, our
# operations and the peers (OpenCV, NumPy, numexpr) on the same workloads, and
# prints one comparison table. docs/performance.md describes the method.
#
#   scripts/bench.sh [--quick] [--update-doc] [--build-dir DIR] [--jobs N] [--filter REGEX]
#
#   --quick        fewer and shorter repetitions (a rough table in about two minutes)
#   --update-doc   also put the table into docs/performance.md
#   --build-dir    release build directory (default: build/release-bench)
#   --jobs         parallel compile jobs (default: 2)
#   --filter       only benchmarks whose name matches (Google Benchmark regex)
#
# Results: <build dir>/bench-results/ holds every program's JSON output, its
# console log and the table (performance-table.md).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command_line="scripts/bench.sh${*:+ $*}"
build="$root/build/release-bench"
jobs=2
repetitions=5
min_time=0.2
probe_after=1
update_doc=0
filter=""
while (($#)); do
  case "$1" in
    --quick) repetitions=3; min_time=0.05; probe_after=0 ;;
    --update-doc) update_doc=1 ;;
    --build-dir) build=$(realpath -m "$2"); shift ;;
    --jobs) jobs="$2"; shift ;;
    --filter) filter="$2"; shift ;;
    -h|--help) sed -n '2,16p' "$0"; exit 0 ;;
    *) echo "bench.sh: unknown argument '$1' (see --help)" >&2; exit 2 ;;
  esac
  shift
done

python=/usr/bin/python3  # Debian's interpreter: it has python3-numpy and python3-numexpr
start=$(date +%s)
read -r load_before _ < /proc/loadavg  # before our own build and runs add to it
step() { printf '== %s (%ds)\n' "$1" $(($(date +%s) - start)); }
# Runs a measuring program with its console output in a log file (the JSON files
# carry the results); on failure shows the end of the log.
logged() {
  local log="$1"
  shift
  if ! "$@" > "$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "bench.sh: failed: $* (log: $log)" >&2
    return 1
  fi
}

step "dependencies (scripts/install-deps.sh --bench)"
"$root/scripts/install-deps.sh" --bench

step "release build in $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DPython3_EXECUTABLE="$python" -DVIMRA_BUILD_TESTS=OFF -DVIMRA_BUILD_EXAMPLES=OFF \
  -DVIMRA_BUILD_BENCH=ON >/dev/null
build_failed=0
if ! ninja -C "$build" -j "$jobs" vimra_bench; then
  # Keep going with what did build (the probe and the peers), so the table still
  # shows the machine; the command fails at the end.
  build_failed=1
  echo "bench.sh: the build failed; our operations are left out of this run" >&2
  ninja -C "$build" -j "$jobs" vimra_bench_bandwidth
  ninja -C "$build" -j "$jobs" vimra_bench_opencv 2>/dev/null || true
fi

bin="$build/bin"
results="$build/bench-results"
mkdir -p "$results"
rm -f "$results"/*.json "$results"/*.log
cores=$(nproc)
if awk -v l="$load_before" -v c="$cores" 'BEGIN { exit !(l > c / 2) }'; then
  echo "bench.sh: load average $load_before on $cores cores: the machine is busy, figures will be noisy" >&2
fi

gb_flags=(
  --benchmark_repetitions="$repetitions"
  --benchmark_min_time="$min_time"
  --benchmark_min_warmup_time=0.05
  --benchmark_report_aggregates_only=true
  --benchmark_enable_random_interleaving=true
  --benchmark_out_format=json
)
filter_flag=()
if [[ -n "$filter" ]]; then filter_flag=(--benchmark_filter="$filter"); fi

step "bandwidth probe"
logged "$results/probe.log" \
  "$bin/vimra_bench_bandwidth" "${gb_flags[@]}" --benchmark_out="$results/probe.json"

# The Python peers run the workloads these programs list (OpenCV's first: it has
# every row of the workload table, while ours lists only operations already built).
listings=()
if ((!build_failed)) && [[ -x "$bin/vimra_bench_arithmetic" ]]; then
  step "our operations"
  logged "$results/ours.log" "$bin/vimra_bench_arithmetic" "${gb_flags[@]}" "${filter_flag[@]}" \
    --benchmark_out="$results/ours.json"
  listings+=("$bin/vimra_bench_arithmetic")
else
  echo "bench.sh: our operations are not measured (vimra_bench_arithmetic not built)" >&2
fi

if [[ -x "$bin/vimra_bench_opencv" ]]; then
  step "OpenCV peer"
  logged "$results/opencv.log" "$bin/vimra_bench_opencv" "${gb_flags[@]}" "${filter_flag[@]}" \
    --benchmark_out="$results/opencv.json"
  listings=("$bin/vimra_bench_opencv" "${listings[@]}")
else
  echo "bench.sh: vimra_bench_opencv was not built (OpenCV not found)" >&2
fi

if ((${#listings[@]})); then
  step "NumPy and numexpr peers"
  for program in "${listings[@]}"; do
    "$program" --benchmark_list_tests "${filter_flag[@]}"
  done > "$results/workloads.txt"
  logged "$results/python.log" \
    "$python" "$root/bench/peers/python_peers.py" --workloads "$results/workloads.txt" \
    --out "$results/python.json" --repetitions "$repetitions" --min-time "$min_time"
fi

# The Python front (fronts/python) and its peers: rows of their own, appended to the table.
front_table=""
if ((!build_failed)) && ninja -C "$build" -j "$jobs" vimra_python >/dev/null 2>&1; then
  step "Python front"
  planes=64
  if ((repetitions < 5)); then planes=8; fi  # --quick: a smaller volume
  front_table="$results/python-front.md"
  logged "$results/python-front.log" env PYTHONPATH="$build/python" \
    "$python" "$root/bench/peers/python_front.py" --cpp "$results/ours.json" --out "$front_table" \
    --json "$results/python-front.json" --repetitions "$repetitions" --min-time "$min_time" --planes "$planes" ||
    front_table=""
fi

if ((probe_after)); then
  step "bandwidth probe again (drift check)"
  logged "$results/probe-after.log" \
    "$bin/vimra_bench_bandwidth" "${gb_flags[@]}" --benchmark_repetitions=3 \
    --benchmark_out="$results/probe-after.json"
fi

step "table"
report=("$python" "$root/bench/report.py" --probe "$results/probe.json"
  --ours "$results/ours.json" --opencv "$results/opencv.json" --python "$results/python.json"
  --probe-after "$results/probe-after.json" --order "$results/workloads.txt"
  --out "$results/performance-table.md"
  --note "Load average (1 min) before the command started: $load_before."
  --note "Command: $command_line ($repetitions repetitions of at least $min_time s each, medians).")
if ((update_doc)); then report+=(--update-doc "$root/docs/performance.md"); fi
"${report[@]}"
if [[ -n "$front_table" ]]; then printf '\n' >> "$results/performance-table.md"; cat "$front_table" >> "$results/performance-table.md"; fi
step "command-line tool: vimra-arith add against vips add and cp (scripts/bench-cli.sh)"
"$root/scripts/bench-cli.sh" --build-dir "$build" --runs "$repetitions" | tee "$results/cli-table.md"
echo "Table written to $results/performance-table.md (total $(($(date +%s) - start)) s)"
exit "$build_failed"
