#!/bin/sh
# Runs clang-tidy over the given sources of the ordinary build, or over all sources if none are given. Skips sources
# that were clean before and have not changed (see scripts/tidycached.py). Exit status 1 if clang-tidy finds something.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $windows_packages $style_packages $benchmark_packages $fuzz_packages

# sources_of PRESET: prints the sources of this tree that the build compiles.
sources_of() {
    cmake --preset "$1" >/dev/null || fail "Could not configure the build ($1)."
    sed -n 's|^ *"file": "'"$PWD"'/\(.*\)",*$|\1|p' "build/$1/compile_commands.json" | grep -v '^build/' | sort -u
}

# tidy PRESET SOURCE...: runs clang-tidy over the sources; passes $extra to the compiler.
tidy() {
    preset=$1
    shift
    # shellcheck disable=SC2086
    python3 scripts/tidycached.py "build/$preset" "$@" -- $extra
}

extra=
if [ $# -gt 0 ]; then
    tidy release "$@"
    exit
fi
status=0
ordinary=$(sources_of release)
# shellcheck disable=SC2086
tidy release $ordinary || status=1
# shellcheck disable=SC2046
tidy fuzz $(sources_of fuzz | grep -Fxv "$ordinary") || status=1

# clang uses the headers of the compiler for Windows, except those with that compiler's intrinsics. -Wno-cast-qual is
# needed because a macro of the driver kit casts a "volatile" away.
extra="--target=i686-w64-mingw32 -nostdinc++ -Wno-cast-qual"
for folder in $(i686-w64-mingw32-g++-posix -xc++ -E -v /dev/null 2>&1 |
    sed -n '/search starts/,/End of search/s/^ //p' | grep -v 'posix/include$\|include-fixed$'); do
    extra="$extra -isystem$folder"
done
# shellcheck disable=SC2046
tidy windows-check $(sources_of windows-check | grep '^packaging/') || status=1
exit $status
