#!/bin/sh
# Installs what is missing, builds, and runs the bench: the updater on a simulated computer with a simulated
# transmitter and headset. Arguments go to the bench; see ./run.sh --help.
cd "$(dirname "$0")" || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages
build release
exec build/release/bench/bench "$@"
