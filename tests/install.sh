#!/usr/bin/env bash
# Installs a build, moves the installation elsewhere, and uses it from there as others would: install.sh BUILD VERSION
# Compilers and flags are taken from the environment (CC, CXX, CFLAGS, CXXFLAGS, LDFLAGS).
set -eu
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/environment.sh"
build=$1 version=$2
source=$(realpath "$(dirname "$0")/..")
samples=$source/tests/samples
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset DESTDIR PKG_CONFIG_PATH CMAKE_PREFIX_PATH

check() {  # check WHAT EXPECTED FOUND
  [ "$2" = "$3" ] && return
  printf '%s: expected\n%s\nfound\n%s\n' "$1" "$2" "$3"
  exit 1
}

cmake --install "$build" --prefix "$work/first" >/dev/null
mkdir "$work/moved"
mv "$work/first" "$work/moved/prefix"
prefix=$work/moved/prefix
library=$(find "$prefix" -name libzarn_clc_zarn_utility.so)
export LD_LIBRARY_PATH=${library%/*}  # only for the C program: CMake writes the path into what it builds

# The tool, which is a single file to copy.
mv "$prefix/bin" "$work/moved"
tool() { env -u LD_LIBRARY_PATH "$work/moved/bin/zarn-utility" "$@"; }
check "version of the tool" "zarn-utility $version" "$(tool --version)"
check "version of the man page" 1 "$(grep -c "^\.Os zarn-utility $version$" "$prefix/share/man/man1/zarn-utility.1")"
check "installed documents" "NOTICE.md formats.md" "$(cd "$prefix/share/doc/zarn_utility" && echo *)"

# Files that name this build or the first prefix could not be moved, so there must be none.
check "places in the installed files" "" \
  "$(grep -rIlFe "$work/" -e "$(realpath "$build")/" -e "$source/" "$prefix" || true)"

buffers=("$samples"/print/{masked-64bit,single-float,all-i32}.bin)
printed=$(for buffer in "${buffers[@]}"; do tool print --strings "$samples/print/strings.bin" "$buffer"; done)
listed="PC 900: RingBufferATE, descriptor of 0 bytes, release at 1000
PC 608: RingBufferATE, descriptor of 128 bytes, release at 900
PC 608: RingBufferATE, descriptor of 128 bytes
PC 96: eDMA, descriptor of 64 bytes
515be5711044d920 uses eDMA"
inputs=("$samples/log/ring-buffer-ate.bin" "$samples/kernel/with-edma.bin")

# C, with pkg-config.
export PKG_CONFIG_PATH=${library%/*}/pkgconfig
check "version of the pkg-config file" "$version" "$(pkg-config --modversion zarn_utility)"
eval "found=($(pkg-config --cflags --libs zarn_utility))"  # quoted for a shell
# shellcheck disable=SC2086,SC2154  # the others are several words; eval sets this one
${CC:-cc} -std=c99 ${CFLAGS:-} "$source/examples/decode.c" -o "$work/decode" "${found[@]}" ${LDFLAGS:-}
check "C by pkg-config" "$printed" "$("$work/decode" "$samples/print/strings.bin" "${buffers[@]}")"
unset LD_LIBRARY_PATH

logged() {  # logged LOG COMMAND...
  local log=$1
  shift
  "$@" >"$log" 2>&1 || { cat "$log"; exit 1; }
}

configure() {  # configure NAME OPTION...
  local name=$1
  shift
  logged "$work/$name.log" \
    cmake -S "$source/tests/consumer" -B "$work/$name" -DCMAKE_INSTALL_PREFIX="$work/$name/prefix" "$@"
}

consumer() {  # consumer NAME OPTION...
  local name=$1
  configure "$@"
  logged "$work/$name.log" cmake --build "$work/$name"
  check "C++ by $name" "$listed" "$("$work/$name/decode" "${inputs[@]}")"
}

# C++, with find_package.
consumer package -DCMAKE_PREFIX_PATH="$prefix"
check "version of the CMake package" "$version" \
  "$(sed -n 's/^set(PACKAGE_VERSION "\(.*\)")$/\1/p' "$prefix"/*/cmake/zarn_utility/zarn_utility-config-version.cmake)"

# C++, as a subproject, which must be independent of its parent: that has other versions of all headers, and no
# exceptions.
other=$work/other
mkdir -p "$other"/{include/{fmt,nlohmann},lib/cmake/fmt}
for header in fmt/core fmt/format fmt/printf nlohmann/json xxhash; do
  echo '#error "a header of the parent"' >"$other/include/$header.h"
done
mv "$other"/include/nlohmann/json.h{,pp}
# shellcheck disable=SC2016  # CMake's variable
echo 'add_library(fmt::fmt-header-only INTERFACE IMPORTED)
target_include_directories(fmt::fmt-header-only INTERFACE ${CMAKE_CURRENT_LIST_DIR}/../../../include)' \
  >"$other/lib/cmake/fmt/fmt-config.cmake"
subproject=(-DZARN_UTILITY_SOURCE="$source" -DOTHER="$other" -DCMAKE_PREFIX_PATH="$other")
consumer subproject "${subproject[@]}" -DFMT_USE=before -DCMAKE_CXX_FLAGS="${CXXFLAGS:-} -fno-exceptions"
# The loader uses the preloaded library. LD_PRELOAD can't take a path with blanks.
(cd "$work/subproject/zarn_utility" && LD_PRELOAD=./${library##*/} \
  logged "$work/exceptions.log" "$build/tests/host_tests" --gtest_filter=Host.ThrowingOperatorNewEndsTheProcess)
check "exceptions, with a parent that has none" 1 "$(grep -c '^\[  PASSED  \] 1 test\.$' "$work/exceptions.log")"
check "tests of a subproject" "Total Tests: 0" "$(ctest --test-dir "$work/subproject" -N | grep Total)"
cmake --install "$work/subproject" >/dev/null
check "installed by a subproject" "" "$(find "$work/subproject/prefix" -type f 2>/dev/null)"

# Other parents need only be configured.
configure target "${subproject[@]}" -DFMT_USE=target -DZARN_UTILITY_BUILD_TOOL=ON
configure after "${subproject[@]}" -DFMT_USE=after
configure exported "${subproject[@]}" -DZARN_UTILITY_INSTALL=ON -DEXPORTED=ON
for parent in target after; do
  check "a subproject's cache entries" "" "$(grep -E '^[A-Za-z]' "$work/$parent/CMakeCache.txt" |
    grep -vE '^(CMAKE|ZARN_UTILITY|zarn_utility|consumer|PKG_CONFIG|OTHER|FMT_USE)(_|:)|:INTERNAL=|:STATIC=' |
    grep -vxF "fmt_DIR:PATH=$other/lib/cmake/fmt" || true)"
done

check "headers of the parent that were found" "" "$(grep -hF "_INCLUDE_DIR:PATH=$other" "$work"/*/CMakeCache.txt)"

# Without headers and network, the error says at once what helps. An empty path suppresses the search for headers.
if cmake -S "$source" -B "$work/offline" -DZARN_UTILITY_FMT_INCLUDE_DIR= -DZARN_UTILITY_FMT_URL="file://$work/nowhere" \
  >"$work/offline.log" 2>&1; then
  check "what happens without {fmt}" "an error" "none"
fi
for help in script/bootstrap ZARN_UTILITY_FMT_INCLUDE_DIR; do
  check "error without {fmt} that names $help" 1 "$(sed '/^Call Stack/,$d' "$work/offline.log" | tail -n 4 | grep -cw $help)"
done

# clang links a sanitizer only into the program.
if "${CXX:-c++}" --version | grep -q clang; then
  consumer sanitized "${subproject[@]}" -DCMAKE_C_FLAGS=-fsanitize=address \
    -DCMAKE_CXX_FLAGS="${CXXFLAGS:-} -fsanitize=address"
fi
