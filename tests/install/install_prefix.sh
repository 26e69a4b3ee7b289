#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and uses it from there alone: a client
# built through pkg-config (shared and static) and through find_package (both targets), the
# tool with its man page, and the Python module. Leaves nothing behind but the build tree's
# install manifest.
# Usage: install_prefix.sh BUILD_DIR TEST_DIR CXX PKG_CONFIG PYTHON WITH_PYTHON(0|1)
set -euo pipefail
build="$1" here="$2" cxx="$3" pkg_config="$4" python="$5" with_python="$6"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
# Not a prefix any default search would find.
prefix="$scratch/opt/qel-prefix"

fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

# Nothing installed may point back into the build or source tree.
source_root="$(cd "$here/../.." && pwd)"
if leaks="$(grep -rIl -e "$build" -e "$source_root" "$prefix")"; then
  fail "installed files name the build or source tree: $leaks"
fi

# pkg-config: the flags name the prefix, and a client builds and runs from them.
pc="$(find "$prefix" -name qelstd.pc)"
[ -n "$pc" ] || fail "no qelstd.pc under $prefix"
export PKG_CONFIG_PATH="$(dirname "$pc")"
cflags="$("$pkg_config" --cflags qelstd)"
libs="$("$pkg_config" --libs qelstd)"
includedir="$("$pkg_config" --variable=includedir qelstd)"
libdir="$("$pkg_config" --variable=libdir qelstd)"
[ -f "$includedir/qel/qelstd.h" ] || fail "pkg-config includedir $includedir has no qel/qelstd.h"
[ -f "$libdir/libqelstd.so" ] || fail "pkg-config libdir $libdir has no libqelstd.so"
"$cxx" "$here/consumer.cc" $cflags $libs -o "$scratch/consumer_pc"
LD_LIBRARY_PATH="$libdir" "$scratch/consumer_pc" | grep -q "^consumer ok" || fail "consumer_pc"
# Static: the same flags with --static, libqelstd.a named so that the .so is not preferred.
static_libs="$("$pkg_config" --static --libs qelstd)"
static_libs="${static_libs/-lqelstd/-l:libqelstd.a}"
"$cxx" "$here/consumer.cc" $cflags $static_libs -o "$scratch/consumer_pc_static"
if readelf -d "$scratch/consumer_pc_static" | grep -q 'NEEDED.*libqelstd'; then
  fail "consumer_pc_static loads libqelstd.so"
fi
"$scratch/consumer_pc_static" | grep -q "^consumer ok" || fail "consumer_pc_static"

# find_package: qel::qelstd and qel::qelstd_static.
cmake -S "$here" -B "$scratch/find_package" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/find_package" >/dev/null
"$scratch/find_package/consumer" | grep -q "^consumer ok" || fail "find_package consumer"
"$scratch/find_package/consumer_static" | grep -q "^consumer ok" || fail "consumer_static"

# The tool and its man page.
"$prefix/bin/qel" --version | grep -q "^qel (qelstd) [0-9]" || fail "qel --version"
"$prefix/bin/qel" demo | grep -q "^Eval(" || fail "qel demo"
man_page="$prefix/share/man/man1/qel.1.gz"
[ -f "$man_page" ] || fail "no man page $man_page"
gzip -dc "$man_page" | grep -q 'qel demo' || fail "the man page lacks the commands"

# The module, imported from the prefix only (not from the build tree), in a clean directory.
if [ "$with_python" = 1 ]; then
  site="$prefix/$("$python" -c 'import sys; print("lib/python%d.%d/site-packages" % sys.version_info[:2])')"
  [ -f "$site/qelstd/__init__.pyi" ] && [ -f "$site/qelstd/py.typed" ] \
    || fail "no typed package in $site"
  (cd "$scratch" && env -u PYTHONPATH PYTHONPATH="$site" PYTHONDONTWRITEBYTECODE=1 \
     "$python" -c '
import sys, qelstd
assert qelstd.__file__.startswith(sys.argv[1]), qelstd.__file__
print("import ok", qelstd.QelValidateRUT("12.345.678-5", 10))' "$site") \
    | grep -q "^import ok 0123456785$" || fail "import qelstd from $site"
fi
echo "install_prefix: ok ($prefix)"
