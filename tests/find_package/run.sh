#!/usr/bin/env bash
# Installs the build tree into a scratch prefix and builds and runs a find_package client.
# Usage: run.sh BUILD_DIR SOURCE_DIR CXX_COMPILER
set -euo pipefail
build="$1" source="$2" cxx="$3"
scratch="$build/find_package_test"
rm -rf "$scratch"
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source/tests/find_package" -B "$scratch/build" -G Ninja \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/build" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/build/consumer"
