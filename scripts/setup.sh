#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, when missing.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config
          libgtest-dev libgmock-dev libbenchmark-dev
          libhwy-dev libpng-dev libtiff-dev
          libfftw3-dev  # the opt-in FFT back end (built and tested in CI) and the FFT benchmark
          clang libclang-rt-14-dev)  # clang and its runtimes build the fuzz targets CI runs
# The benchmarks' peers: OpenCV for resizing, Eigen's FFT beside FFTW for the transform.
if [[ "${LUMOMATH_WITH_BENCH:-0}" == 1 ]]; then packages+=(libopencv-dev libeigen3-dev); fi
# The 64-bit Arm cross build and its emulator (scripts/test_aarch64.sh).
if [[ "${LUMOMATH_WITH_ARM64:-0}" == 1 ]]; then
  packages+=(g++-aarch64-linux-gnu qemu-user libhwy-dev:arm64 libgtest-dev:arm64 libpng-dev:arm64 libtiff-dev:arm64)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo=""
  [[ $(id -u) -ne 0 ]] && sudo="sudo"
  if [[ "${LUMOMATH_WITH_ARM64:-0}" == 1 ]] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
    $sudo dpkg --add-architecture arm64
  fi
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
