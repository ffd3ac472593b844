#!/usr/bin/env bash
# Installs the release build into a scratch prefix and uses it the ways a
# consumer does: the tool runs, a small C program builds and runs against the
# CMake package and against the pkg-config file, and every interface name
# resolves through dlopen/dlsym.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "check_install: $*" >&2; exit 1; }
# Runs a command silently, showing its output only when it fails.
quiet() {
  local log
  log=$("$@" 2>&1) || { echo "$log" >&2; fail "failed: $*"; }
}

cmake --preset release >/dev/null
cmake --build --preset release --target lumomath lumomath_tool

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
quiet cmake --install build/release --prefix "$prefix"


echo "-- installed tree"
pc=$(find "$prefix" -name lumomath.pc)
[[ -n "$pc" ]] || fail "no lumomath.pc installed"
libdir=$(dirname "$(dirname "$pc")")
for f in include/lumomath/LumoMath.h include/lumomath/LumoUtility.h bin/lumomath; do
  [[ -e "$prefix/$f" ]] || fail "missing $f"
done
real_lib=$(find "$libdir" -name 'liblumomath.so.*.*.*')
soname=$(objdump -p "$real_lib" | awk '$1 == "SONAME" {print $2}')
[[ -L "$libdir/$soname" && -L "$libdir/liblumomath.so" ]] || fail "SONAME links missing in $libdir"
[[ -f "$libdir/cmake/LumoMath/LumoMathConfig.cmake" ]] || fail "no CMake package"
echo "   $(basename "$real_lib"), SONAME $soname, links present"
"$prefix/bin/lumomath" info | sed 's/^/   /'

echo "-- consumer through find_package(LumoMath CONFIG)"
quiet cmake -S tests/install/consumer -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
quiet cmake --build "$work/consumer"
"$work/consumer/consumer"

echo "-- consumer through pkg-config"
export PKG_CONFIG_PATH="$(dirname "$pc")"
pc_libdir=$(pkg-config --variable=libdir lumomath)
# shellcheck disable=SC2046 # the flags are meant to split
cc -std=c11 -Wall -Werror tests/install/consumer/consumer.c -o "$work/consumer-pc" \
  $(pkg-config --cflags --libs lumomath) -Wl,-rpath,"$pc_libdir"
"$work/consumer-pc"

echo "-- every interface name through dlopen/dlsym"
# The list holds names without parameters; the linkage names come from the
# library's dynamic symbol table, and every listed name must have one.
nm -D --defined-only "$real_lib" | awk '$2 != "A" {sub(/@.*/, "", $3); print $3}' | sort -u >"$work/linkage"
c++filt <"$work/linkage" | sed 's/(.*//' >"$work/demangled"
paste "$work/demangled" "$work/linkage" >"$work/pairs"
grep -v '^\s*#' tests/frame/exported_symbols.txt | sed '/^\s*$/d' | sort -u >"$work/listed"
: >"$work/names"
while IFS= read -r name; do
  awk -F'\t' -v n="$name" '$1 == n {print $2; found = 1} END {exit !found}' "$work/pairs" >>"$work/names" ||
    fail "$name is not exported by the installed library"
done <"$work/listed"
"$work/consumer/resolve_symbols" "$libdir/$soname" "$work/names"
echo "install check passed"
