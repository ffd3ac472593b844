#!/usr/bin/env bash
# Sets up, builds and runs the library's main job.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release
cmake --build --preset release
./build/release/bin/lumomath demo "$@"
