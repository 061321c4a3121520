#!/bin/sh
# Checks the package that build.sh made. First installs the package in a bare Debian and starts the program on an X
# server. Then boots this Debian in a virtual machine and simulates devices with /dev/uhid. Every check prints a line;
# the exit status is 0 if all checks hold. Pictures and logs go to build/linux/check.
set -e
cd "$(dirname "$0")/../.."
. scripts/packages.sh
. packaging/machine/machine.sh

deb=$(echo build/linux/*.deb)
[ -f "$deb" ] || fail "There is no package; run packaging/linux/build.sh first."

# This folder keeps the bare Debian between runs. The bare Debian has all packages that the checks need.
cache=${UPDATER_LINUX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-linux}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
bare=$cache/debian
work=$cache/check
results=build/linux/check
# These packages provide systemd, a login session and a desktop for the checks in the bare Debian.
root_packages="dbus fonts-dejavu-core imagemagick kmod libpam-systemd openbox polkitd procps systemd-sysv udev xdotool xvfb"
limit_s=2400 # time limit of the virtual machine; enough on a busy computer

# shellcheck disable=SC2086
install_packages $build_packages
[ -f build/release/build.ninja ] || cmake --preset release
cmake --build --preset release --target bench pair
machine_install
machine_debian "$bare" "$root_packages" "" "useradd --create-home user"

as_root rm -rf "$work"
as_root cp -a "$bare" "$work"
machine_modules "$work"
as_root mkdir -p "$work/check" "$work/var/cache/apt/archives"
as_root cp -r packaging/linux/check/. packaging/checks.sh build/release/bench/bench \
    build/release/packaging/linux/check/pair "$deb" "$work/check"
as_root cp /bin/busybox "$work/check" # provides chvt
as_root cp "$work/check/check.service" "$work/check/session.service" "$work/usr/lib/systemd/system"
# suspend.conf: instead of suspending the machine, systemd records how many updates have finished. logind.conf: logind
# reacts to the lid as soon as logind has started, without the usual delay.
as_root mkdir -p "$work/etc/systemd/system/systemd-suspend.service.d" "$work/etc/systemd/logind.conf.d"
as_root cp "$work/check/suspend.conf" "$work/etc/systemd/system/systemd-suspend.service.d"
as_root cp "$work/check/logind.conf" "$work/etc/systemd/logind.conf.d"
# updates.sh reads these settings: the number of rows of the fault matrix to run, and the seed for their random choice.
echo "rows=${UPDATER_FAULT_ROWS:-24} seed=${UPDATER_FAULT_SEED:-$(date +%s)}" | as_root tee "$work/check/settings" >/dev/null
rm -rf "$results"
mkdir -p "$results"

status=0
machine_enter "$work" sh /check/install.sh || status=1
machine_disk "$cache/check.img" "$work" 512
machine_boot "$cache/check.img" "$results/machine.log" "$limit_s" /sbin/init \
    systemd.unit=check.service systemd.show_status=false || status=1
machine_take "$cache/check.img" /check/pictures "$results"
[ $status -eq 0 ] || fail "The checks do not all hold."
