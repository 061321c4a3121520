#!/bin/sh
# Runs what build.sh made under Wine, an implementation of Windows that knows nothing of this program. Wine (with its
# 32-bit part where the machine runs that) and an X server live in a small Debian of their own in the cache folder, so
# that the machine need not take in another architecture. That Debian follows the release only, without later updates:
# there the lists of both architectures always match. Pictures go to build/windows/PROCESSOR/check.
set -e
cd "$(dirname "$0")/../.."
. packaging/windows/common.sh

[ -f "$build/app/$updater.exe" ] || fail "There is nothing to check; run packaging/windows/build.sh first."
runs_32_bit || [ "$arch" = x86_64 ] || fail "This machine does not run 32-bit programs."
root=$kept/wine-root
case $arch in
i686) wine_package=wine32 foreign=i386 prefix_kind=win32 ;;
*) wine_package=wine64 foreign='' prefix_kind=win64 ;;
esac
root_packages="wine $wine_package fonts-wine xvfb imagemagick zip"

make_root() {
    [ "$(cat "$root/ready" 2>/dev/null)" != "$root_packages" ] || return 0
    echo "Making a Debian with Wine; messages go to $kept/wine-root.log"
    as_root rm -rf "$root"
    # shellcheck disable=SC1091
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    # shellcheck disable=SC2016
    repository=$(debian_repositories '$(REPO_URI)' "Codename: $release" | head -n 1)
    as_root debootstrap --variant=minbase "$release" "$root" "$repository" >"$kept/wine-root.log" &&
        as_root chroot "$root" sh -ec "[ -z '$foreign' ] || dpkg --add-architecture $foreign
            apt-get update
            DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $root_packages
            apt-get clean
            # This Wine looks for the symbols of its title bars only where all other fonts are.
            ln -s /usr/share/wine/fonts/marlett.ttf /usr/share/fonts
            echo '$root_packages' >/ready" >>"$kept/wine-root.log" 2>&1 ||
        fail "A Debian with Wine could not be made; see $kept/wine-root.log"
}

install_packages debootstrap zip
make_root

work=$root/check
made=$build/packaging/windows
as_root rm -rf "$work"
as_root mkdir -p "$work/package" "$work/devices" "$work/devices-package" "$work/pictures"
sh packaging/windows/check/archive.sh "$build/check-archive.zip"
as_root cp "$build/check-archive.zip" "$work/package/fw.1.2.zip"
as_root cp "$made/$updater"-*.exe "$work/package/package.exe"
as_root cp "$build/app/$updater.exe" "$made/check"/*.exe "$made/check"/*.dll "$made/check/bus"/*.exe "$made/check/bus"/*.sys \
    "$made/check/pair"/*.exe packaging/windows/check/bus/simbus.inf packaging/checks.sh \
    packaging/windows/check/run.sh packaging/windows/check/program.sh packaging/windows/check/devices.sh "$work"
as_root cp "$made/check/copy/$updater.exe" "$made/check"/*.dll "$made/check"/UninstallDevices_*.exe "$work/devices"
as_root cp "$made/check_package.exe" "$work/devices-package/package.exe"

# Name spaces of its own: whatever is started in there ends with it. On one processor: a transfer passes through five
# processes in turn, and to wake another processor for each takes longer than all that they do.
processor=$(taskset --cpu-list --pid $$ | sed 's/.*: *\([0-9]*\).*/\1/')
status=0
as_root taskset --cpu-list "$processor" unshare --mount --pid --fork --kill-child chroot "$root" \
    env WINEARCH=$prefix_kind sh /check/run.sh || status=$?
mkdir -p "$build/check"
cp "$work/pictures"/*.png "$build/check" || status=1
exit $status
