#!/usr/bin/env bash
# The command-line tool against its peers on files: `vimra-arith add` of two
# 8192x8192 uint16 TIFFs, `vips add` of the same files, and `cp` of both files
# (the I/O floor). Each is run several times; the best time counts. The tool
# should be I/O-bound: its time close to cp's.
#
#   scripts/bench-cli.sh [--build-dir DIR] [--size N] [--runs N] [--dir DIR]
#
#   --build-dir  release build directory (default: build/release-bench)
#   --size       image edge in pixels (default: 8192)
#   --runs       runs of each command (default: 5)
#   --dir        where the files go (default: a new folder under build dir)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build/release-bench"
size=8192
runs=5
dir=""
while (($#)); do
  case "$1" in
    --build-dir) build=$(realpath -m "$2"); shift ;;
    --size) size="$2"; shift ;;
    --runs) runs="$2"; shift ;;
    --dir) dir=$(realpath -m "$2"); shift ;;
    -h|--help) sed -n '2,13p' "$0"; exit 0 ;;
    *) echo "bench-cli.sh: unknown argument '$1' (see --help)" >&2; exit 2 ;;
  esac
  shift
done

"$root/scripts/install-deps.sh" --bench
if [[ ! -x "$build/bin/vimra-arith" ]]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DPython3_EXECUTABLE=/usr/bin/python3 >/dev/null
fi
cmake --build "$build" --target vimra-arith -- -j2 >/dev/null
tool="$build/bin/vimra-arith"

dir=${dir:-$build/bench-cli}
mkdir -p "$dir"
for name in a b; do
  if [[ ! -f "$dir/$name.tif" ]]; then
    head -c $((size * size * 2)) /dev/urandom > "$dir/$name.raw"
    raw2tiff -w "$size" -l "$size" -d short -c none "$dir/$name.raw" "$dir/$name.tif"
    rm "$dir/$name.raw"
  fi
done

# best_of COMMAND...: runs the command $runs times, removing its outputs before
# each run, and prints the fastest wall time and the smallest processor time
# (user + system) in seconds. On a busy machine the processor time is the
# steadier figure: the wall time then mostly measures waiting for a core.
best_of() {
  local best="" cpu="" times
  for ((i = 0; i < runs; i++)); do
    rm -f "$dir"/out.* "$dir"/copy-*
    sync
    times=$( { TIMEFORMAT='%R %U %S'; time "$@" >/dev/null; } 2>&1 )
    read -r real user sys <<< "$times"
    local c
    c=$(awk "BEGIN { print $user + $sys }")
    if [[ -z $best ]] || awk "BEGIN { exit !($real < $best) }"; then best=$real; fi
    if [[ -z $cpu ]] || awk "BEGIN { exit !($c < $cpu) }"; then cpu=$c; fi
  done
  printf '%.3f %.3f' "$best" "$cpu"
}

copy_both() { cp "$dir/a.tif" "$dir/copy-a.tif" && cp "$dir/b.tif" "$dir/copy-b.tif"; }
t_cp=$(best_of copy_both)
t_ours=$(best_of "$tool" add "$dir/a.tif" "$dir/b.tif" -o "$dir/out.tif")
t_ours1=$(best_of "$tool" add "$dir/a.tif" "$dir/b.tif" -o "$dir/out.tif" --threads 1)
t_vips=$(best_of vips add "$dir/a.tif" "$dir/b.tif" "$dir/out.v.tif")
rm -f "$dir"/out.* "$dir"/copy-*

in_mib=$((2 * size * size * 2 / 1048576))
read -r load _ < /proc/loadavg
printf '\n%dx%d uint16 + uint16 (inputs %d MiB together; output uint32, as the promotion rule and vips choose)\n' \
  "$size" "$size" "$in_mib"
printf '%d cores, load average %s, best of %d runs, files in %s\n\n' "$(nproc)" "$load" "$runs" "$dir"
printf '| command | wall s | / cp | processor s (user + system) |\n|---|---|---|---|\n'
for row in "cp a.tif b.tif (both files):$t_cp" "vimra-arith add:$t_ours" "vimra-arith add --threads 1:$t_ours1" \
           "vips add:$t_vips"; do
  read -r wall cpu <<< "${row##*:}"
  printf '| %s | %s | %.2f | %s |\n' "${row%%:*}" "$wall" "$(awk "BEGIN { print $wall / ${t_cp%% *} }")" "$cpu"
done
printf '\nvimra-arith / vips (wall): %.2f\n' "$(awk "BEGIN { print ${t_ours%% *} / ${t_vips%% *} }")"
