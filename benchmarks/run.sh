#!/bin/sh
# Installs missing packages, builds, and compares the cost of the updater's work with the lowest possible cost. Takes
# about four minutes; the figures of a busy machine mean less. Exit status 1 means that a row exceeds its bound. Passes
# its arguments to the program; for example, --benchmark_filter=archive selects rows by name.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $benchmark_packages
cmake --preset release >/dev/null || fail "Could not configure the build."
cmake --build --preset release --target benchmarks >/dev/null || fail "The build failed."
exec xvfb-run -a -s '-screen 0 1280x1024x24' build/release/benchmarks/benchmarks "$@"
