#!/usr/bin/env bash
# Builds the qel tool and runs the demo transaction.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
bash scripts/setup.sh
build="${QEL_BUILD_DIR:-build/demo}"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQEL_BUILD_TESTS=OFF \
  -DQEL_BUILD_PYTHON=OFF >/dev/null
cmake --build "$build" --target qel >/dev/null
exec "$build/qel" demo
