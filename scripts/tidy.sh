#!/bin/sh
# clang-tidy over the given sources, by default over all that the build knows; exit status 1 where it finds something.
# The build has to be there, for what it generates.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $style_packages $benchmark_packages
database=build/release/compile_commands.json
cmake --preset release >/dev/null || fail "Could not configure the build."
[ $# -gt 0 ] ||
    set -- $(sed -n 's|^ *"file": "'"$PWD"'/\(.*\)",*$|\1|p' $database | grep -v '^build/' | sort -u)
echo "clang-tidy: $# sources"
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 clang-tidy -p build/release --quiet 2>/dev/null
