#!/usr/bin/env bash
# Builds the optimised library and the benchmarks, runs them, and writes their
# tables with a short description of the machine to bench/RESULTS.md: the
# resize benchmark against OpenCV (needed for the benchmark only), then the
# FFT benchmark against FFTW3 (and Eigen's FFT module where it is installed).
# Arguments go to the resize benchmark, e.g. scripts/bench.sh --rounds 9, and
# LUMOMATH_FFT_BENCH_ARGS to the FFT one. LUMOMATH_BENCH=fft runs the FFT
# benchmark alone and replaces only its section of bench/RESULTS.md;
# LUMOMATH_BENCH=resize runs the resize benchmark alone.
set -euo pipefail
cd "$(dirname "$0")/.."
which="${LUMOMATH_BENCH:-all}"
case "$which" in
  all|resize|fft) ;;
  *) echo "LUMOMATH_BENCH must be all, resize or fft, not '$which'" >&2; exit 2 ;;
esac

targets=()
if [[ "$which" != fft ]]; then
  LUMOMATH_WITH_BENCH=1 bash scripts/setup.sh
  targets+=(lumomath_bench)
else
  bash scripts/setup.sh
fi
[[ "$which" != resize ]] && targets+=(lumomath_fft_bench)
cmake --preset release
cmake --build --preset release --target "${targets[@]}"

table=$(mktemp)
kept=$(mktemp)
trap 'rm -f "$table" "$kept"' EXIT

machine() {
  local cpu flags
  cpu=$(lscpu | sed -n 's/^Model name:[[:space:]]*//p' | head -n 1)
  flags=$(grep -o -w -E 'avx512f|avx2|sse4_2|asimd|sve' /proc/cpuinfo | sort -u | paste -s -d ' ')
  echo "- Machine: ${cpu:-unknown processor}, $(nproc) logical processors (vector extensions: ${flags:-none})"
  echo "- Load when the run started: $(cut -d ' ' -f 1-3 /proc/loadavg)"
}

if [[ "$which" != fft ]]; then
  ./build/release/bin/lumomath_bench "$@" >"$table"
  {
    echo "# Resize benchmark"
    echo
    echo "Written by \`scripts/bench.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC')."
    echo
    machine
    echo "- Compiler: $(c++ --version | head -n 1); OpenCV $(pkg-config --modversion opencv4 2>/dev/null || echo '?')"
    echo
    echo "Times are medians over the rounds of one run; every round times each"
    echo "contender once, in an order that rotates. \"ours\" is the exported entry"
    echo "point as the host calls it (thread start and stop included where it splits), \"plain\" the"
    echo "plain reference kernels, \"floor\" a 2-thread copy of the source bytes"
    echo "plus a fill of the destination bytes. OpenCV's \`cv::resize\` runs with"
    echo "2 threads."
    echo
    cat "$table"
  } >bench/RESULTS.md
fi

if [[ "$which" != resize ]]; then
  # shellcheck disable=SC2086  # the arguments are words
  ./build/release/bin/lumomath_fft_bench ${LUMOMATH_FFT_BENCH_ARGS:-} >"$table"
  # Everything before an earlier FFT section stays.
  if [[ -f bench/RESULTS.md ]]; then
    # (blank lines are held back until a line follows them: none trail)
    sed '/^# FFT benchmark$/,$d' bench/RESULTS.md |
      awk 'NF { for (; blank > 0; blank--) print ""; print; next } { blank++ }' >"$kept"
  fi
  eigen=$(dpkg-query -W -f='${Version}' libeigen3-dev 2>/dev/null || true)
  {
    if [[ -s "$kept" ]]; then
      cat "$kept"
      echo
    fi
    echo "# FFT benchmark"
    echo
    echo "Written by \`scripts/bench.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC')."
    echo
    machine
    echo "- Compiler: $(c++ --version | head -n 1); FFTW $(pkg-config --modversion fftw3 2>/dev/null || echo '?'); Eigen ${eigen:-not installed}"
    echo
    echo "The 2-D complex FFT of the transfer functions on an n x n span, as a"
    echo "transfer function calls it: plan, then for each of 1 or 3 planes copy"
    echo "the plane in and transform it in place, then destroy the plan; forward"
    echo "sign, unnormalised, one thread. \"ours\" is the built-in back end, \"FFTW\""
    echo "FFTW3 planned \`FFTW_ESTIMATE\` on the work arrays through its split"
    echo "interface (the FFTW back end until it was made deterministic), \"FFTW"
    echo "back end\" FFTW as that back end now runs it, through an aligned pair of"
    echo "arrays of its own. Eigen's FFT module has 1-D transforms of interleaved"
    echo "data only: it transforms the rows, then each column gathered into a line."
    echo "Times are medians over the rounds of one run; every round times each"
    echo "contender once, in an order that rotates. Accuracy is on random data in"
    echo "[-1, 1) (rounded to float for float): the round trip is forward, then"
    echo "inverse scaled by 1/N, against the input (max abs difference over the"
    echo "input's max magnitude); \"vs FFTW double\" is the forward result against"
    echo "FFTW's double-precision one (max abs difference over its max magnitude)."
    echo
    cat "$table"
    echo
    echo "Why the built-in back end is the default: FFTW is GPL-2.0-or-later,"
    echo "which a closed-source host cannot ship, and its bits depend on the"
    echo "processor's vector units (and, as the back end used to plan it, on"
    echo "where the heap put the work arrays). Eigen's FFT module (MPL-2.0) could"
    echo "ship, but it has no 2-D transform, takes interleaved complex data (a"
    echo "copy each way from the split arrays), gets its twiddle factors from the"
    echo "platform's sin and cos, so that its bits differ between platforms, and"
    echo "is slower than the built-in one at every size above. The built-in back"
    echo "end gives the same bits on every vector target and processor, with an"
    echo "accuracy in line with the others'."
  } >bench/RESULTS.md.new
  mv bench/RESULTS.md.new bench/RESULTS.md
fi
echo "Wrote bench/RESULTS.md"
