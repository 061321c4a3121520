#!/bin/sh
# Builds the Debian package into build/linux and checks it with lintian, the desktop's validators and readelf. Each
# build of the same sources makes the same package, byte for byte, in any folder.
set -e
cd "$(dirname "$0")/../.."
. scripts/packages.sh

# shellcheck disable=SC2086
install_packages $build_packages $package_packages
# All files get the date of the last commit. If the sources have no git history, they get the date of CHANGELOG.md.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}
export SOURCE_DATE_EPOCH
export CCACHE_BASEDIR= # with a base folder ccache would use relative paths, which -ffile-prefix-map does not replace
rm -rf build/package build/linux # removes an earlier build, which contains the date of its own commit
cmake --preset package
cmake --build --preset package
cpack --config build/package/CPackConfig.cmake -B build/linux
rm -rf build/linux/_CPack_Packages
package=$(echo build/linux/*.deb)

contents=build/linux/contents
dpkg-deb --extract "$package" $contents
desktop-file-validate $contents/usr/share/applications/*.desktop
appstreamcli validate --no-net $contents/usr/share/metainfo/*.xml
lintian --fail-on error,warning "$package"

program=$(echo $contents/usr/bin/*)
symbols=$(readelf --dyn-syms --wide "$program")
dynamic=$(readelf --dynamic --wide "$program")
echo "$dynamic" | grep -q 'BIND_NOW' || fail "$program is not linked with -z now."
echo "$dynamic" | grep -q 'FLAGS_1.*PIE' || fail "$program is not position-independent."
echo "$symbols" | grep -q ' __stack_chk_fail@' || fail "$program has no stack protector."
echo "$symbols" | grep -q '_chk@' || fail "$program is not built with _FORTIFY_SOURCE."
! strings -a "$program" | grep -F "$PWD" || fail "$program contains paths of this computer."
for library in $(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(lib[^.]*\)\.so.*/\1/p'); do
    grep -qF "$library" packaging/linux/copyright || fail "packaging/linux/copyright does not name $library."
done
wc -c "$package"
