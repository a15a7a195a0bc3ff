#!/bin/sh
# Fuzzes the readers of files on one core, each for some seconds. What it finds is left in build/fuzz/found; make a test
# of it. usage: fuzz.sh [SECONDS]
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
found=build/fuzz/found
packaging/install-deps.sh fuzz
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-16 \
  -DQUILLBAY_FUZZ=ON -DQUILLBAY_TESTS=OFF -DQUILLBAY_WERROR=OFF >build/configure-fuzz.log 2>&1 || {
  cat build/configure-fuzz.log >&2
  exit 1
}
for target in lut_file; do
  cmake --build build/fuzz --target "${target}_fuzz" >&2
  mkdir -p "$found" "build/fuzz/corpus/$target"
  nice "build/fuzz/bin/${target}_fuzz" -max_total_time="$seconds" -max_len=40000 -timeout=5 -rss_limit_mb=1024 \
    -print_final_stats=1 -artifact_prefix="$found/$target-" "build/fuzz/corpus/$target" "fuzz/corpus/$target"
done
