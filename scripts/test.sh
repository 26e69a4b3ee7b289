#!/usr/bin/env bash
# Builds qelstd and runs every test: first the C++ and Python suites against a build with
# AddressSanitizer and UndefinedBehaviorSanitizer, then the whole suite on an ordinary build:
# GoogleTest, pytest, the examples, the export and install checks, and each fuzz target for a
# short while under both sanitizers. The ordinary build's summary comes last.
# Usage: scripts/test.sh [extra ctest arguments for the ordinary build]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
bash scripts/setup.sh

asan_build="${QEL_ASAN_BUILD_DIR:-build/ci-asan}"
cmake -S . -B "$asan_build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQEL_SANITIZE=ON -DQEL_BUILD_TESTS=ON -DQEL_BUILD_PYTHON=ON -DQEL_BUILD_FUZZ=OFF \
  -DQEL_BUILD_BENCH=OFF >/dev/null
cmake --build "$asan_build"
# The install, export and example checks build or load unsanitized clients: ordinary build only.
ctest --test-dir "$asan_build" --output-on-failure -j2 \
  -E '^(install_.*|shared_library_exports|example_.*)$'

build="${QEL_BUILD_DIR:-build/ci}"
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQEL_BUILD_TESTS=ON -DQEL_BUILD_PYTHON=ON -DQEL_BUILD_FUZZ=ON -DQEL_BUILD_BENCH=OFF >/dev/null
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j2 "$@"
