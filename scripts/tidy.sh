#!/bin/sh
# clang-tidy over the given sources of the ordinary build, which has to be there; without any, over all sources. Exit
# status 1 where it finds something.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $windows_packages $style_packages $benchmark_packages $fuzz_packages

# sources_of PRESET: what that build would compile of the sources here.
sources_of() {
    cmake --preset "$1" >/dev/null || fail "Could not configure the build ($1)."
    sed -n 's|^ *"file": "'"$PWD"'/\(.*\)",*$|\1|p' "build/$1/compile_commands.json" | grep -v '^build/' | sort -u
}

# tidy PRESET SOURCE...: with $extra for the compiler.
tidy() {
    preset=$1
    shift
    echo "clang-tidy: $# sources of build/$preset"
    # shellcheck disable=SC2086
    printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 clang-tidy -p "build/$preset" --quiet $extra 2>/dev/null
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

# The compiler for Windows tells where its library is; its own intrinsics are not for clang. A macro of the driver kit
# drops a volatile.
extra="--extra-arg=--target=i686-w64-mingw32 --extra-arg=-nostdinc++ --extra-arg=-Wno-cast-qual"
for folder in $(i686-w64-mingw32-g++-posix -xc++ -E -v /dev/null 2>&1 |
    sed -n '/search starts/,/End of search/s/^ //p' | grep -v 'posix/include$\|include-fixed$'); do
    extra="$extra --extra-arg=-isystem$folder"
done
# shellcheck disable=SC2046
tidy windows-check $(sources_of windows-check | grep '^packaging/') || status=1
exit $status
