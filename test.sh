#!/bin/sh
# Installs what is missing, builds, and runs every test. Arguments go to CTest.
cd "$(dirname "$0")" || exit 1
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages
build release
exec ctest --preset release "$@"
