# Makes Debian systems in folders and boots them with Debian's own kernel in a virtual machine. The machine emulates its
# processor, so the machine runs 32-bit programs on every computer. The checks of the packages use these functions.
# Source this file in the root of the sources, after scripts/packages.sh.
#
# machine_install                      Installs the programs that the functions below need, and downloads the kernel.
# machine_debian FOLDER PACKAGES [BEFORE [AFTER]]
#       Makes a Debian system in FOLDER, with the same release as on this computer. In the new system, runs the shell
#       commands BEFORE, installs PACKAGES, and runs the shell commands AFTER. Messages go to FOLDER.log. Does nothing
#       if an earlier call with the same arguments has made the system.
# machine_enter FOLDER COMMAND...      Runs COMMAND in the Debian system in FOLDER, in new namespaces. When COMMAND
#                                      ends, the kernel ends all processes that COMMAND started.
# machine_disk IMAGE FOLDER FREE_MIB   Makes a disk image with the contents of FOLDER and some free space.
# machine_boot IMAGE LOG LIMIT_S FIRST [PARAMETER...]
#       Boots the disk IMAGE and passes each PARAMETER to the kernel. FIRST is a program on the disk: /sbin/init, or a
#       script with execute permission. FIRST runs as process 1, with only the root file system and /dev mounted. The
#       machine stops when it powers off, when FIRST exits, or after LIMIT_S seconds. machine_output writes the output
#       of the machine's console (/dev/ttyS0) to LOG. Succeeds if exactly one line of LOG is "checks: all hold".
# machine_output LOG                   Writes the standard input to LOG. Lines that start with "holds:", "FAILED:",
#                                      "checks:" or "| " also go to the standard output, as soon as they arrive.
# machine_take IMAGE FOLDER TARGET     Copies FOLDER from the disk image of a stopped machine into the folder TARGET.
# machine_modules FOLDER               Copies the kernel's modules into the Debian system in FOLDER, for modprobe.

machine_cache=${UPDATER_MACHINE_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-machine}

machine_install() {
    # shellcheck disable=SC2154,SC2086
    install_packages debootstrap e2fsprogs busybox-static cpio kmod $machine_packages
    mkdir -p "$machine_cache" || fail "Cannot create the folder $machine_cache"
    [ -n "$(apt-cache depends linux-image-amd64 2>/dev/null)" ] || as_root apt-get update -qq
    (
        flock 9
        [ -d "$machine_cache/kernel" ] || machine_fetch_kernel >"$machine_cache/kernel.log" 2>&1 || exit 1
        machine_make_initial_disk >>"$machine_cache/kernel.log" 2>&1
    ) 9>"$machine_cache/lock" || fail "Could not get a kernel; see $machine_cache/kernel.log"
}

machine_fetch_kernel() (
    set -e
    cd "$machine_cache"
    rm -rf new
    mkdir new
    package=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: //p')
    (cd new && apt-get -o APT::Sandbox::User=root download "$package")
    dpkg-deb --extract new/*.deb new/kernel
    /sbin/depmod -b new/kernel "$(ls new/kernel/lib/modules)"
    mv new/kernel kernel
    rm -r new
)

# Makes the initial RAM disk, whose script "init" mounts the root disk.
machine_make_initial_disk() (
    set -e
    disk=$machine_cache/disk
    rm -rf "$disk"
    mkdir -p "$disk/bin" "$disk/dev" "$disk/root" "$disk/modules"
    cp packaging/machine/init "$disk"
    cp /bin/busybox "$disk/bin"
    version=$(ls "$machine_cache/kernel/lib/modules")
    for module in virtio_pci virtio_blk ext4 crc32c_generic; do
        /sbin/modprobe -d "$machine_cache/kernel" -S "$version" --show-depends $module
    done | sed -n 's/^insmod //p' | cat -n | sort -uk2 | sort -n | while read -r number file; do
        cp "$file" "$disk/modules/$(printf %03d "$number")"
    done
    cd "$disk"
    find . | cpio -o -H newc -R 0:0 --quiet | gzip -1 >"$machine_cache/initrd.new"
    mv "$machine_cache/initrd.new" "$machine_cache/initrd"
)

machine_modules() (
    folder=$1
    as_root mkdir -p "$folder/usr/lib/modules"
    as_root cp -r "$machine_cache/kernel/lib/modules/." "$folder/usr/lib/modules"
)

machine_enter() (
    folder=$1
    shift
    as_root unshare --mount --pid --fork --kill-child chroot "$folder" \
        sh -c 'mount -t proc proc /proc; mount -t tmpfs tmpfs /tmp; exec "$@"' sh "$@"
)

machine_debian() (
    folder=$1 packages=$2 before=$3 after=$4
    recipe="$packages;$before;$after"
    [ "$(cat "$folder/ready" 2>/dev/null)" != "$recipe" ] || return 0
    echo "Making a Debian in $folder; messages go to $folder.log"
    as_root rm -rf "$folder"
    # shellcheck disable=SC1091
    release=$(. /etc/os-release && echo "$VERSION_CODENAME")
    # shellcheck disable=SC2016
    repository=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        "Codename: $release" | head -n 1)
    # Uses no later updates of the release, because their versions may differ between architectures.
    as_root debootstrap --variant=minbase "$release" "$folder" "$repository" >"$folder.log" 2>&1 &&
        machine_enter "$folder" sh -ec "$before
            apt-get update
            DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
                -o Dpkg::Options::=--force-unsafe-io $packages
            apt-get clean
            $after" >>"$folder.log" 2>&1 ||
        fail "Could not make a Debian; see $folder.log"
    echo "$recipe" | as_root tee "$folder/ready" >/dev/null
)

machine_disk() (
    image=$1 folder=$2 free_mib=$3
    used_mib=$(as_root du -sm "$folder" | cut -f 1)
    as_root rm -f "$image"
    as_root mke2fs -q -t ext4 -O ^has_journal -d "$folder" "$image" "$((used_mib * 11 / 10 + free_mib))M"
)

machine_boot() (
    image=$1 log=$2 limit_s=$3 first=$4
    shift 4
    # With "tsc=reliable" a program can read the clock without a call of the kernel, which is slow in this machine. The
    # output of programs under Wine contains control sequences for terminals; sed removes these sequences.
    # shellcheck disable=SC2094
    timeout "$limit_s" qemu-system-x86_64 -accel tcg,thread=multi -cpu qemu64 -smp 2 -m 2048 -no-reboot -nic none \
        -display none -serial stdio -kernel "$machine_cache"/kernel/boot/vmlinuz-* -initrd "$machine_cache/initrd" \
        -drive file="$image",format=raw,if=virtio,cache=unsafe \
        -append "console=ttyS0 quiet panic=-1 no_timer_check mitigations=off tsc=reliable first=$first $*" </dev/null |
        sed -u 's/\r//g; s/\x1b\[[?0-9;]*[A-Za-z]//g; s/\x1b\][^\x07]*\x07//g' | machine_output "$log"
    [ "$(grep -a -c '^checks: all hold$' "$log")" -eq 1 ]
)

machine_output() {
    tee "$1" | grep -a --line-buffered -E '^(holds|FAILED|checks):|^\| ' || true
}

machine_take() (
    image=$1 folder=$2 target=$3
    mkdir -p "$target"
    as_root /sbin/debugfs -R "rdump $folder $target" "$image" 2>/dev/null
)
