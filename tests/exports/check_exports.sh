#!/usr/bin/env bash
# Checks the shared library's dynamic symbols: the public API is there (a function, a class's
# type information for catching qel::Error across the boundary, a virtual table), and nothing
# else is: no internal namespace, no file-local helper, no standard-library instantiation.
# Usage: check_exports.sh LIBRARY
set -euo pipefail
symbols="$(nm -D --defined-only -C "$1" | cut -d' ' -f3-)"
status=0
for wanted in "qel::CStr[abi:cxx11](qel::Variant const&)" "typeinfo for qel::Error" \
              "vtable for qel::QelRecord" "qel::QelProps::Item("; do
  grep -qF "$wanted" <<<"$symbols" || { echo "not exported: $wanted"; status=1; }
done
unwanted="$(grep -vE '^(qel::|typeinfo for qel::|typeinfo name for qel::|vtable for qel::|VTT for qel::)' \
  <<<"$symbols" || true)"
internal="$(grep -E 'qel::internal::|qel::\(anonymous namespace\)' <<<"$symbols" || true)"
for leak in "$unwanted" "$internal"; do
  if [ -n "$leak" ]; then
    echo "exported but not public:"; head -20 <<<"$leak"; status=1
  fi
done
echo "$(wc -l <<<"$symbols") dynamic symbols"
exit "$status"
