#!/usr/bin/env bash
# Runs every libFuzzer target for a while under AddressSanitizer and UndefinedBehaviorSanitizer,
# two at a time (one a core), and keeps what they learn.
#
# Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
#   SECONDS  how long each target runs (default 300)
#   TARGET   the targets to run, by name without the fuzz_ prefix (default: all)
#
# Each target starts from its corpus in fuzz/corpus/<name>; at the end the inputs it found that
# add coverage are merged back there, so the committed corpora grow only by what is new.
# Crashes, leaks and time-outs are written to build/fuzz/artifacts/ and make the script fail.
# Inputs may be as long as 64 KiB, so that size-driven faults in the text parsers are reached.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
seconds="${1:-300}"
shift || true
bash scripts/setup.sh
build="${QEL_FUZZ_BUILD_DIR:-build/fuzz}"
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQEL_BUILD_TESTS=OFF -DQEL_BUILD_PYTHON=OFF -DQEL_BUILD_FUZZ=ON -DQEL_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for exe in "$build"/fuzz/fuzz_*; do targets+=("$(basename "$exe" | sed 's/^fuzz_//')"); done
fi

artifacts="$build/artifacts"
mkdir -p "$artifacts"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1"

run_one() {
  local name="$1" exe="$build/fuzz/fuzz_$1" work="$build/work/$1" seeds="fuzz/corpus/$1"
  mkdir -p "$work" "$seeds"
  if "$exe" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
       -print_final_stats=1 -artifact_prefix="$artifacts/$name-" "$work" "$seeds" \
       >"$build/work/$name.log" 2>&1; then
    "$exe" -merge=1 -max_len=65536 "$seeds" "$work" >>"$build/work/$name.log" 2>&1
    echo "fuzz: $name clean ($(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' \
      "$build/work/$name.log" | grep -o '[0-9]*$') runs)"
  else
    echo "fuzz: $name FAILED; see $build/work/$name.log and $artifacts/" >&2
    return 1
  fi
}

failed=0
pids=()
for name in "${targets[@]}"; do
  run_one "$name" &
  pids+=($!)
  if [ ${#pids[@]} -ge 2 ]; then
    wait "${pids[0]}" || failed=1
    pids=("${pids[@]:1}")
  fi
done
for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
exit "$failed"
