#!/usr/bin/env bash
# Builds the optimised library and the resize benchmark (OpenCV is needed for
# the benchmark only), runs it, and writes its table with a short description
# of the machine to bench/RESULTS.md. Arguments go to the benchmark, e.g.
# scripts/bench.sh --rounds 9
set -euo pipefail
cd "$(dirname "$0")/.."
LUMOMATH_WITH_BENCH=1 bash scripts/setup.sh
cmake --preset release
cmake --build --preset release --target lumomath_bench

table=$(mktemp)
trap 'rm -f "$table"' EXIT
./build/release/bin/lumomath_bench "$@" >"$table"

cpu=$(lscpu | sed -n 's/^Model name:[[:space:]]*//p' | head -n 1)
flags=$(grep -o -w -E 'avx512f|avx2|sse4_2' /proc/cpuinfo | sort -u | paste -s -d ' ')
{
  echo "# Resize benchmark"
  echo
  echo "Written by \`scripts/bench.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC')."
  echo
  echo "- Machine: ${cpu:-unknown processor}, $(nproc) logical processors (vector extensions: ${flags:-none})"
  echo "- Load when the run started: $(cut -d ' ' -f 1-3 /proc/loadavg)"
  echo "- Compiler: $(c++ --version | head -n 1); OpenCV $(pkg-config --modversion opencv4 2>/dev/null || echo '?')"
  echo
  echo "Times are medians over the rounds of one run; every round times each"
  echo "contender once, in an order that rotates. \"ours\" is the exported entry"
  echo "point as the host calls it (pool start and stop included), \"plain\" the"
  echo "plain reference kernels, \"floor\" a 2-thread copy of the source bytes"
  echo "plus a fill of the destination bytes. OpenCV's \`cv::resize\` runs with"
  echo "2 threads."
  echo
  cat "$table"
} >bench/RESULTS.md
echo "Wrote bench/RESULTS.md"
