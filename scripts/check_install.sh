#!/usr/bin/env bash
# Uses the library the ways a host's build does, each from scratch:
#  - the shared release build installed into a scratch prefix: its NEEDED list
#    holds no copyleft library, the tool runs, a C program builds and runs
#    against the CMake package and against the pkg-config file, and every
#    interface name resolves through dlopen/dlsym;
#  - a static build installed the same way, consumed through find_package and
#    `pkg-config --static`;
#  - the source tree as a subproject of a host, through add_subdirectory and
#    through FetchContent from a local clone, shared and static: only the
#    library is built, nothing of LumoMath is installed or added to CTest,
#    and no test, tool or benchmark dependency is looked for.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "check_install: $*" >&2; exit 1; }
# Runs a command silently, showing its output only when it fails.
quiet() {
  local log
  log=$("$@" 2>&1) || { echo "$log" >&2; fail "failed: $*"; }
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

echo "== shared library (release build)"
cmake --preset release >/dev/null
cmake --build --preset release --target lumomath lumomath_tool
prefix="$work/shared"
quiet cmake --install build/release --prefix "$prefix"

pc=$(find "$prefix" -name lumomath.pc)
[[ -n "$pc" ]] || fail "no lumomath.pc installed"
libdir=$(dirname "$(dirname "$pc")")
for f in include/lumomath/LumoMath.h include/lumomath/LumoUtility.h bin/lumomath share/doc/lumomath/LICENSE; do
  [[ -e "$prefix/$f" ]] || fail "missing $f"
done
real_lib=$(find "$libdir" -name 'liblumomath.so.*.*.*')
soname=$(objdump -p "$real_lib" | awk '$1 == "SONAME" {print $2}')
[[ -L "$libdir/$soname" && -L "$libdir/liblumomath.so" ]] || fail "SONAME links missing in $libdir"
[[ -f "$libdir/cmake/LumoMath/LumoMathConfig.cmake" ]] || fail "no CMake package"
echo "   $(basename "$real_lib"), SONAME $soname, links present"

# A closed-source host may link only permissively licensed libraries (the
# compiler's runtimes carry the GCC runtime library exception). Any other
# name in the NEEDED list needs a look at its licence before it is added here.
needed=$(readelf -d "$real_lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
while IFS= read -r lib; do
  case "$lib" in
    libhwy.so.*|libstdc++.so.*|libgcc_s.so.*|libm.so.*|libc.so.*|ld-linux*) ;;
    *) fail "the library needs $lib, which is not on the list of permissively licensed libraries" ;;
  esac
done <<<"$needed"
echo "   NEEDED: $(paste -s -d ' ' <<<"$needed")"
"$prefix/bin/lumomath" info | sed 's/^/   /'

echo "-- consumer through find_package(LumoMath CONFIG)"
quiet cmake -S tests/install/consumer -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
quiet cmake --build "$work/consumer"
"$work/consumer/consumer"

echo "-- consumer through pkg-config"
pc_libdir=$(PKG_CONFIG_PATH="$(dirname "$pc")" pkg-config --variable=libdir lumomath)
# shellcheck disable=SC2046 # the flags are meant to split
cc -std=c99 -Wall -Werror tests/install/consumer/consumer.c -o "$work/consumer-pc" \
  $(PKG_CONFIG_PATH="$(dirname "$pc")" pkg-config --cflags --libs lumomath) -Wl,-rpath,"$pc_libdir"
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

echo "== static library"
quiet cmake -S . -B build/static -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
  -DLUMOMATH_BUILD_TESTS=OFF -DLUMOMATH_BUILD_BENCH=OFF
quiet cmake --build build/static
prefix="$work/static"
quiet cmake --install build/static --prefix "$prefix"
pc=$(find "$prefix" -name lumomath.pc)
archive=$(find "$prefix" -name liblumomath.a)
[[ -n "$archive" ]] || fail "no liblumomath.a installed"
[[ -z "$(find "$prefix" -name 'liblumomath.so*')" ]] || fail "a static build installed a shared library"
# The archive passes on its dependencies for linking and nothing else: none of
# the library's own compile flags or definitions reach a consumer.
targets=$(find "$prefix" -name LumoMathTargets.cmake)
! grep -q -E 'INTERFACE_COMPILE_(OPTIONS|DEFINITIONS)' "$targets" || fail "the package passes compile flags on"
echo "   $(basename "$archive"); the package passes no compile flags on"

echo "-- consumer through find_package(LumoMath CONFIG)"
quiet cmake -S tests/install/consumer -B "$work/consumer-static" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
quiet cmake --build "$work/consumer-static" --target consumer
! readelf -d "$work/consumer-static/consumer" | grep -q lumomath || fail "the static consumer needs a shared liblumomath"
"$work/consumer-static/consumer"

echo "-- consumer through pkg-config --static"
# shellcheck disable=SC2046 # the flags are meant to split
cc -std=c99 -Wall -Werror tests/install/consumer/consumer.c -o "$work/consumer-pc-static" \
  $(PKG_CONFIG_PATH="$(dirname "$pc")" pkg-config --static --cflags --libs lumomath)
"$work/consumer-pc-static"

# A host build that has none of the tests', the tool's or the benchmark's
# dependencies: looking for any of them fails the configure step.
no_optional_dependencies=(-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON
  -DCMAKE_DISABLE_FIND_PACKAGE_TIFF=ON -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON
  -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON)
head=$(git rev-parse HEAD)
if [[ -n "$(git status --porcelain --untracked-files=no)" ]]; then
  echo "note: FetchContent uses the committed $head, not the uncommitted changes"
fi
for how in add_subdirectory FetchContent; do
  for shared in ON OFF; do
    echo "== subproject through $how, BUILD_SHARED_LIBS=$shared"
    build="$work/host-$how-$shared"
    quiet cmake -S tests/install/subproject -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DBUILD_SHARED_LIBS="$shared" -DLUMOMATH_HOW="$how" -DLUMOMATH_SOURCE="$PWD" \
      -DLUMOMATH_GIT="$PWD" -DLUMOMATH_TAG="$head" "${no_optional_dependencies[@]}"
    quiet cmake --build "$build"
    tests=$(ctest --test-dir "$build" -N | sed -n 's/^Total Tests: //p')
    [[ "$tests" == 1 ]] || fail "the host has $tests CTest entries, not its own one"
    quiet ctest --test-dir "$build" --output-on-failure
    quiet cmake --install "$build" --prefix "$work/host-prefix-$how-$shared"
    installed=$(cd "$work/host-prefix-$how-$shared" && find . -type f -o -type l | sort | paste -s -d ' ')
    [[ "$installed" == "./bin/consumer" ]] || fail "the host's install holds LumoMath files: $installed"
    echo "   built and ran; 1 CTest entry, installs only the host's program"
  done
done
echo "install check passed"
