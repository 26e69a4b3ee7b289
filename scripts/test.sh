#!/usr/bin/env bash
# Builds qelstd and runs every test: the GoogleTest suite, the Python suite and each fuzz target
# for a short while under AddressSanitizer and UndefinedBehaviorSanitizer; then the Python suite
# again against a sanitized build of the module (a second build directory).
# Usage: scripts/test.sh [extra ctest arguments]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
bash scripts/setup.sh
build="${QEL_BUILD_DIR:-build/ci}"
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQEL_BUILD_TESTS=ON -DQEL_BUILD_PYTHON=ON -DQEL_BUILD_FUZZ=ON -DQEL_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j2 "$@"

asan_build="${QEL_ASAN_BUILD_DIR:-build/ci-asan}"
cmake -S . -B "$asan_build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQEL_SANITIZE=ON -DQEL_BUILD_TESTS=ON -DQEL_BUILD_PYTHON=ON -DQEL_BUILD_FUZZ=OFF \
  -DQEL_BUILD_BENCH=OFF >/dev/null
cmake --build "$asan_build" --target _qelstd _qelstd_testing
ctest --test-dir "$asan_build" --output-on-failure -R '^python_tests$'
