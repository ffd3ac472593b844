#!/usr/bin/env bash
# Sets up, builds and runs every test of the optimised build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release
cmake --build --preset release
ctest --preset release -j "$(nproc)"
