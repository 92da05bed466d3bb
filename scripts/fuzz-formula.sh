#!/usr/bin/env bash
# Fuzzes the formula tokenizer, parser, compiler and evaluators with libFuzzer.
#   scripts/fuzz-formula.sh [seconds]     (default 300)
# Builds build/fuzz/formula_fuzz with clang++-14 (fuzzer, address, undefined),
# runs it at the lowest priority from the checked-in corpus plus a work corpus,
# then merges the inputs that add coverage into tests/framework/formula/corpus,
# which the formula_corpus_replay test replays in every build.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-300}"
out=build/fuzz
mkdir -p "$out/work" "$out/crashes"
cxx=clang++-14
common=(-std=c++20 -O1 -g -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
        -ffp-contract=off -fno-math-errno -Iframework/core/include -Iframework/image/include
        -Iframework/formula/include -Itests)
sources=(framework/formula/src/Parser.cpp framework/formula/src/Compiler.cpp framework/formula/src/Evaluator.cpp
         framework/formula/src/ScalarOps.cpp framework/formula/src/EvalPortable.cpp
         framework/formula/src/FormulaAttribute.cpp framework/core/src/InstructionSet.cpp
         tests/framework/formula/FormulaFuzzEntry.cpp tests/framework/formula/FormulaFuzzMain.cpp)
declare -A isa=([EvalSse2]="-msse2" [EvalAvx2]="-mavx2 -mfma" [EvalAvx512]="-mavx512f -mavx512bw -mavx512vl -mavx512dq")
objects=()
for src in "${sources[@]}"; do
  obj="$out/$(basename "${src%.cpp}").o"
  if [[ ! -f "$obj" || "$src" -nt "$obj" || -n "$(find framework/formula -newer "$obj" -name '*.h' | head -1)" ]]; then
    nice -n 19 "$cxx" "${common[@]}" -c "$src" -o "$obj"
  fi
  objects+=("$obj")
done
for name in "${!isa[@]}"; do
  src="framework/formula/src/$name.cpp"
  obj="$out/$name.o"
  if [[ ! -f "$obj" || "$src" -nt "$obj" || -n "$(find framework/formula -newer "$obj" -name '*.h' | head -1)" ]]; then
    # shellcheck disable=SC2086
    nice -n 19 "$cxx" "${common[@]}" ${isa[$name]} -c "$src" -o "$obj"
  fi
  objects+=("$obj")
done
"$cxx" -fsanitize=fuzzer,address,undefined "${objects[@]}" -o "$out/formula_fuzz"

corpus=tests/framework/formula/corpus
echo "fuzz-formula: running ${seconds}s"
# The timeout only catches hangs: it counts wall time, and at the lowest priority
# on a busy machine a 1 ms input can wait half a minute for a core. The 10 ms
# compile bound is checked in processor time by the corpus replay.
nice -n 19 "$out/formula_fuzz" "$out/work" "$corpus" -max_total_time="$seconds" -timeout=600 -max_len=4200 \
  -rss_limit_mb=2048 -artifact_prefix="$out/crashes/" -print_final_stats=1 > "$out/last.log" 2>&1 || {
  tail -n 60 "$out/last.log"
  echo "fuzz-formula: FAILED (input in $out/crashes/)"
  exit 1
}
tail -n 8 "$out/last.log"
# Keep what adds coverage, in the checked-in corpus.
nice -n 19 "$out/formula_fuzz" -merge=1 "$corpus" "$out/work" 2>&1 | tail -n 2
echo "fuzz-formula: corpus has $(ls "$corpus" | wc -l) inputs"
