#!/usr/bin/env bash
# Builds the libFuzzer targets (the fuzz preset: clang, ASan + UBSan) and runs
# each for a bounded time, starting from its seed corpus in
# fuzz/corpus/<target>/. The committed corpus is only read; inputs found
# during the run go to a scratch directory. Crashing inputs and each target's
# log land in build/fuzz/findings/; any finding fails the run.
#
# Usage: scripts/fuzz.sh [seconds per target]   (default 60, or $LUMOMATH_FUZZ_SECONDS)
# To fold a run's new inputs into the seed corpus:
#   build/fuzz/bin/fuzz_<target> -merge=1 fuzz/corpus/<target> <directory of inputs>
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-${LUMOMATH_FUZZ_SECONDS:-60}}"

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

findings=build/fuzz/findings
mkdir -p "$findings"
status=0
for bin in build/fuzz/bin/fuzz_*; do
  name=$(basename "$bin")
  target=${name#fuzz_}
  scratch=$(mktemp -d)
  mkdir -p "fuzz/corpus/$target"
  echo "== $name for ${seconds}s"
  if ! "$bin" -max_total_time="$seconds" -max_len=128 -rss_limit_mb=2048 -timeout=30 -print_final_stats=1 \
      -artifact_prefix="$findings/$target-" "$scratch" "fuzz/corpus/$target" >"$findings/$target.log" 2>&1; then
    status=1
    tail -n 60 "$findings/$target.log"
  fi
  # Executions and coverage of the run, for the record.
  grep -E "stat::number_of_executed_units|stat::average_exec_per_sec|DONE" "$findings/$target.log" || true
  rm -rf "$scratch"
done
exit "$status"
