#!/usr/bin/env bash
# Sets up, builds and runs the library's main job: the demo's contact sheet
# (build/contact-sheet.png unless --out says otherwise) and timing table.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release
cmake --build --preset release --target lumomath_tool
./build/release/bin/lumomath demo --out build/contact-sheet.png "$@"
