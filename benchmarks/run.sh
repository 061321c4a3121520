#!/bin/sh
# Installs what is missing, builds, and prints the table of what the updater takes for its work beside the least
# that the same can cost; about six minutes, best on a machine that does nothing else. Exit status 1: a row is
# beyond its bound. Arguments go to the programs, such as --benchmark_filter=archive for some of the rows.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $benchmark_packages
folder=build/benchmarks
cmake --preset release -B $folder -DUPDATER_BENCHMARKS=ON >/dev/null || fail "Could not configure the build."
cmake --build $folder --target all-benchmarks >/dev/null || fail "The build failed."

display=$(mktemp) || exit 1
Xvfb -displayfd 1 -screen 0 1280x1024x24 >"$display" 2>/dev/null &
server=$!
trap 'kill $server; rm -f "$display"' EXIT
while [ ! -s "$display" ]; do
    kill -0 $server 2>/dev/null || fail "There is no X server."
    sleep 0.1
done
DISPLAY=:$(cat "$display")
export DISPLAY

echo "| what | measured against | time or size | reference | ratio | at most | |"
echo "|---|---|---|---|---|---|---|"
missed=0
for rows in archiverows inspectionrows devicerows logrows programrows; do
    $folder/benchmarks/$rows "$@" || missed=1
done
exit $missed
