#!/bin/sh
# Installs missing packages, builds, and compares the cost of the updater's work with the lowest possible cost. Takes
# about four minutes. Run it on an idle computer, because other programs disturb the figures. Exit status 1 means that a
# row exceeds its bound or that the measurement failed.
# Passes its arguments to the program; for example, --benchmark_filter=archive selects rows by name.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $benchmark_packages
cmake --preset release >/dev/null || fail "Could not configure the build."
cmake --build --preset release --target benchmarks >/dev/null || fail "The build failed."
exec xvfb-run -a -s '-screen 0 1280x1024x24' build/release/benchmarks/benchmarks "$@"
