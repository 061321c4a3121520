#!/bin/sh
# Builds the Debian package into build/linux and has it looked at: by lintian, by the desktop's own validators.
set -e
cd "$(dirname "$0")/../.."
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $package_packages
build release
rm -rf build/linux
cpack --config build/release/CPackConfig.cmake -B build/linux
rm -rf build/linux/_CPack_Packages
package=$(echo build/linux/*.deb)

dpkg-deb --extract "$package" build/linux/contents
desktop-file-validate build/linux/contents/usr/share/applications/*.desktop
appstreamcli validate --no-net build/linux/contents/usr/share/metainfo/*.xml
lintian --fail-on error "$package"
wc -c "$package"
