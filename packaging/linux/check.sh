#!/bin/sh
# Checks what build.sh made on systems that nobody here wrote. In a bare Debian the package is installed and the program
# started on an X server; then that Debian boots with its own kernel in a virtual machine, with the simulated devices
# behind /dev/uhid. Every check prints a line; the exit status tells whether all held. Pictures and logs go to
# build/linux/check.
set -e
cd "$(dirname "$0")/../.."
. scripts/packages.sh

deb=$(echo build/linux/*.deb)
[ -f "$deb" ] || fail "There is nothing to check; run packaging/linux/build.sh first."

# A bare Debian and the packages that the program needs in it are kept here; overridable, outside the sources by
# default.
cache=${UPDATER_LINUX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-linux}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
bare=$cache/debian
work=$cache/check
results=build/linux/check
# What the checks need beside the package: an X server, and what a computer boots and is logged in to with.
root_packages="busybox-static cpio dbus imagemagick kmod libpam-systemd systemd-sysv udev xvfb"
boot_modules="virtio_pci virtio_blk ext4 crc32c_generic"
limit_s=600 # of the virtual machine, on a busy computer

# in_debian FOLDER COMMAND...: name spaces of its own, so that whatever is started in there ends with it.
in_debian() {
    folder=$1
    shift
    as_root unshare --mount --pid --fork --kill-child chroot "$folder" \
        sh -c 'mount -t proc proc /proc; mount -t tmpfs tmpfs /tmp; exec "$@"' sh "$@"
}

make_bare_debian() {
    [ "$(cat "$bare/ready" 2>/dev/null)" != "$root_packages" ] || return 0
    echo "Making a bare Debian; messages go to $cache/debian.log"
    as_root rm -rf "$bare"
    # shellcheck disable=SC1091
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    # shellcheck disable=SC2016
    repository=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        "Codename: $release" | head -n 1)
    as_root debootstrap --variant=minbase "$release" "$bare" "$repository" >"$cache/debian.log" &&
        in_debian "$bare" sh -ec "apt-get update
            DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends -o Dpkg::Options::=--force-unsafe-io $root_packages
            cd /tmp
            kernel=\$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: //p')
            apt-get -o APT::Sandbox::User=root download \$kernel
            dpkg-deb --extract linux-image-*.deb kernel
            cp -r kernel/lib/modules /usr/lib
            cp kernel/boot/vmlinuz-* /vmlinuz
            depmod \$(ls /usr/lib/modules)
            useradd --create-home user
            echo '$root_packages' >/ready" >>"$cache/debian.log" 2>&1 ||
        fail "A bare Debian could not be made; see $cache/debian.log"
}

# The initial RAM disk finds the real one.
make_initial_disk() {
    in_debian "$work" sh -ec "mkdir -p /tmp/disk/bin /tmp/disk/dev /tmp/disk/proc /tmp/disk/root /tmp/disk/modules
        cp /bin/busybox /tmp/disk/bin
        cp /check/init /tmp/disk
        modules=\$(ls /usr/lib/modules)
        for module in $boot_modules; do modprobe -S \$modules --show-depends \$module; done |
            sed -n 's/^insmod //p' | cat -n | sort -uk2 | sort -n | while read -r number file; do
                cp \$file /tmp/disk/modules/\$(printf %03d \$number)
            done
        cd /tmp/disk && find . | cpio -o -H newc --quiet | gzip -1 >/initrd"
}

boot() {
    # shellcheck disable=SC2094
    timeout "$limit_s" qemu-system-x86_64 -accel tcg,thread=multi -cpu qemu64 -smp 2 -m 1024 -no-reboot -nic none \
        -display none -serial stdio -kernel "$work/vmlinuz" -initrd "$work/initrd" \
        -drive file="$cache/check.img",format=raw,if=virtio,cache=unsafe \
        -append "console=ttyS0 quiet panic=-1 no_timer_check mitigations=off systemd.unit=check.service systemd.show_status=false" </dev/null
}

# shellcheck disable=SC2086
install_packages debootstrap e2fsprogs $machine_packages
make_bare_debian

as_root rm -rf "$work"
as_root cp -a "$bare" "$work"
as_root mkdir -p "$work/check" "$work/var/cache/apt/archives"
as_root cp -r packaging/linux/check/. packaging/checks.sh build/release/bench/bench \
    build/release/packaging/linux/check/pair "$deb" "$work/check"
as_root cp "$work/check/check.service" "$work/check/session.service" "$work/usr/lib/systemd/system"
rm -rf "$results"
mkdir -p "$results"

status=0
in_debian "$work" sh /check/install.sh || status=1
as_root cp "$work/check/start-screen.png" "$results" || status=1
make_initial_disk
as_root rm -f "$cache/check.img"
as_root mke2fs -q -t ext4 -O ^has_journal -d "$work" "$cache/check.img" 2G
boot | tr -d '\r' | tee "$results/machine.log" | grep -a -E '^(holds|FAILED|checks):|^\| ' || true
[ "$(grep -c '^checks: all hold$' "$results/machine.log")" -eq 1 ] || fail "The virtual machine's checks do not all hold."
exit $status
