#!/usr/bin/env bash
# Cross-builds for 64-bit Arm Linux (preset aarch64) and runs the suite under
# qemu-aarch64 on emulated processors that together run every Arm vector
# target of the build:
#   cortex-a72        NEON only: the whole suite;
#   max, SVE 256 bit  the whole suite, the per-target resize tests on SVE_256
#                     alone;
#   max, SVE 512 bit  the per-target resize tests on SVE2, the FFT's per-target
#                     tests and the output hashes on SVE2 and SVE;
#   max, SVE 128/384  the output hashes (SVE2_128 runs only at 128 bits).
# The per-target resize tests compare fast and plain kernels on thousands of
# cases, about five minutes per SVE target under emulation, so they run once
# per kind of vector: fixed (NEON, SVE_256) and scalable (SVE2). The scalable
# SVE target is SVE2's code less a few instructions; it is held to the same
# bytes by the output hashes at 256, 384 and 512 bits. Installs what is
# missing (scripts/setup.sh, as root or with sudo).
set -euo pipefail
cd "$(dirname "$0")/.."

LUMOMATH_WITH_ARM64=1 bash scripts/setup.sh

cmake --preset aarch64
cmake --build --preset aarch64

# Under emulation a test process peaks near 0.6 GB (it was 6.5 GB while every
# call started threads of its own: qemu keeps what short-lived guest threads
# used): as many tests at once as processors and memory allow.
jobs=$(nproc)
memory_jobs=$(( $(awk '/MemAvailable/ {print $2}' /proc/meminfo) / (1024 * 1024) ))
(( memory_jobs < jobs )) && jobs=$(( memory_jobs > 0 ? memory_jobs : 1 ))
run() {  # run <QEMU_CPU> <ctest arguments...>
  local cpu=$1
  shift
  echo "== qemu-aarch64 -cpu $cpu: $(QEMU_CPU=$cpu qemu-aarch64 build/aarch64/bin/lumomath info | grep -E '^(processor|kernels)' | tr -s ' ' | tr '\n' ' ')"
  local start=$SECONDS
  QEMU_CPU=$cpu ctest --preset aarch64 -j "$jobs" "$@"
  echo "   $((SECONDS - start)) s"
}
run cortex-a72
run max,sve256=on -E '^resize\.Targets/.*/(NEON|SVE|SVE2)_[a-z]+$'
run max,sve512=on -R '^resize\.Targets/.*/SVE2_[a-z]+$|^platform\.Targets/|OutputHashes'
run max,sve128=on -R 'OutputHashes'
run max,sve384=on -R 'OutputHashes'
