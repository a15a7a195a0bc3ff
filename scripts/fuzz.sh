#!/bin/sh
# Fuzzes the readers of files on one core, each for some seconds, within 2 GB of memory and 10 seconds an input. What it
# finds is left in build/fuzz/found; make a test of it. usage: fuzz.sh [SECONDS [TARGET ...]]
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
[ $# -eq 0 ] || shift
found=build/fuzz/found
packaging/install-deps.sh fuzz
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-16 \
  -DQUILLBAY_FUZZ=ON -DQUILLBAY_TESTS=OFF -DQUILLBAY_WERROR=OFF >build/configure-fuzz.log 2>&1 || {
  cat build/configure-fuzz.log >&2
  exit 1
}
# shellcheck disable=SC2046 # one word for each target
[ $# -gt 0 ] || set -- $(cat build/fuzz/fuzz-targets)
for target in "$@"; do
  cmake --build build/fuzz --target "${target}_fuzz" >&2
  mkdir -p "$found" "build/fuzz/corpus/$target" "fuzz/corpus/$target"
  echo "$target"
  nice "build/fuzz/bin/${target}_fuzz" -max_total_time="$seconds" -max_len=40000 -timeout=10 -rss_limit_mb=2048 \
    -malloc_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$found/$target-" "build/fuzz/corpus/$target" \
    "fuzz/corpus/$target"
done
