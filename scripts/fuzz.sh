#!/usr/bin/env bash
# Fuzzes the library with libFuzzer under AddressSanitizer and UBSan (clang
# build in build-fuzz/), one target after the other, each starting from its
# seed corpus in fuzz/corpus/. Any finding stops the run with an error.
#   scripts/fuzz.sh            a campaign of 600 s per target
#   scripts/fuzz.sh SECONDS    SECONDS per target
#   scripts/fuzz.sh --ci       60 s per target
# Prints the executions of each target. What the fuzzers learn stays in
# build-fuzz/corpus/, findings go to build-fuzz/findings/, logs next to them.
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

seconds=${1:-600}
[ "$seconds" = --ci ] && seconds=60

dir="$ROOT/build-fuzz"
PACKAGES+=("${FUZZ_PACKAGES[@]}")
# fuzzer-no-link gives libFuzzer the coverage of the library and the tools,
# not only of the harnesses (two targets fuzz the tools' own code).
CC=clang CXX=clang++ build_into "$dir" -DROBOCOMM_SANITIZE=ON -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link \
  -DROBOCOMM_BUILD_TESTS=OFF -DROBOCOMM_BUILD_BENCH=OFF
mkdir -p "$dir/findings" "$dir/logs"

total=0
for seeds in "$ROOT"/fuzz/corpus/*/; do
  target=$(basename "$seeds")
  learnt="$dir/corpus/$target"
  log="$dir/logs/$target.log"
  mkdir -p "$learnt"
  # The library logs every frame, poll and failure: close_fd_mask drops the
  # harness's stdout and stderr, libFuzzer and the sanitizers keep reporting.
  if ! "$dir/fuzz/robocomm_fuzz_$target" -max_total_time="$seconds" -timeout=30 -close_fd_mask=3 \
    -print_final_stats=1 -artifact_prefix="$dir/findings/$target-" "$learnt" "$seeds" >"$log" 2>&1; then
    tail -n 50 "$log" >&2
    echo "fuzz: $target found a fault; input and log in $dir/findings/, $log" >&2
    exit 1
  fi
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  printf '%-16s %12d executions in %d s\n' "$target" "$runs" "$seconds"
  total=$((total + runs))
done
printf '%-16s %12d executions\n' total "$total"
