#!/bin/sh
# Checks the programs that build.sh made. Runs them under Wine, an independent implementation of Windows. Wine and an X
# server are installed in a small Debian in the cache folder. If this machine runs 32-bit programs, this Debian runs in
# namespaces of this machine. Otherwise, or with UPDATER_EMULATE=1, this Debian runs in a virtual machine. Each check
# prints a line; the exit status is 0 if all checks hold. Pictures and logs go to build/windows/check.
set -e
cd "$(dirname "$0")/../.."
. packaging/windows/common.sh
. packaging/machine/machine.sh
. packaging/checks.sh

root=$cache/wine
image=$cache/wine.img
work=$root/check
made=$build/packaging/windows
results=$build/check
released=$(echo "$build/release/$updater"-*.exe)
limit_s=${UPDATER_CHECK_LIMIT_S:-5400} # time limit of the virtual machine; enough on a busy computer
seed=${UPDATER_SEED:-$(date +%s)} # seed of the random choices in matrix.sh

[ -f "$released" ] || fail "There is nothing to check; run packaging/windows/build.sh first."

# runs_32_bit: whether this machine runs 32-bit programs. Tries a very small program: an ELF header, one program header,
# and nine bytes of code that exit with status 32.
runs_32_bit() {
    probe=$cache/runs-32-bit
    {
        printf '\177ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\3\0\1\0\0\0\124\200\4\10\64\0\0\0\0\0\0\0\0\0\0\0\64\0\40\0\1\0\0\0'
        printf '\0\0\0\0\1\0\0\0\0\0\0\0\0\200\4\10\0\200\4\10\135\0\0\0\135\0\0\0\5\0\0\0\0\20\0\0'
        printf '\61\333\263\40\61\300\100\315\200'
    } >"$probe"
    chmod +x "$probe"
    status=0
    "$probe" >/dev/null 2>&1 || status=$?
    rm "$probe"
    [ "$status" -eq 32 ]
}

# run SCRIPT LOG: runs the script in the Debian with Wine and writes its output to LOG. Succeeds if all checks hold.
run() {
    if [ -n "$emulated" ]; then
        machine_disk "$image" "$root" 1000
        machine_boot "$image" "$2" $limit_s /check/first.sh task="$1" emulated=1 seed="$seed"
    else
        # Uses one processor. A transfer passes through five processes, and the work of each process takes less time
        # than waking another processor.
        processor=$(taskset --cpu-list --pid $$ | sed 's/.*: *\([0-9]*\).*/\1/')
        machine_enter "$root" taskset --cpu-list "$processor" env seed="$seed" sh "$1" 2>&1 | machine_output "$2"
        grep -q '^checks: all hold$' "$2"
    fi
}

# fetch FOLDER TARGET: copies FOLDER out of the Debian with Wine into the folder TARGET. Call fetch after run.
fetch() {
    if [ -n "$emulated" ]; then
        machine_take "$image" "$1" "$2"
    else
        cp -a "$root$1" "$2"
    fi
}

make_prefix() {
    cmp -s packaging/windows/check/prefix.sh "$root/prefix.sh" && return 0
    echo "Making a Windows under Wine; messages go to $cache/prefix.log"
    as_root rm -rf "$work" "$root/prefix"
    as_root mkdir -p "$work" "$root/share"
    as_root cp packaging/windows/check/first.sh packaging/windows/check/prefix.sh packaging/windows/check/wine.sh "$work"
    run /check/prefix.sh "$cache/prefix.log" || fail "Could not make a Windows under Wine; see $cache/prefix.log"
    [ -z "$emulated" ] || { fetch /prefix "$work" && as_root mv "$work/prefix" "$root"; }
    as_root cp packaging/windows/check/prefix.sh "$root"
}

# payload_start PACKAGE: prints the offset of the package's payload, a gzip stream.
payload_start() {
    LC_ALL=C grep -obUaP '\x1f\x8b\x08\x00\x00\x00\x00\x00\x02' "$1" | head -n 1 | cut -d : -f 1
}

# unpack PACKAGE FOLDER: unpacks the package's payload into the folder.
unpack() {
    mkdir -p "$2"
    # Hides gzip's warning about the bytes after the gzip stream.
    tail -c "+$(($(payload_start "$1") + 1))" "$1" | gzip -dc 2>/dev/null | tar -x -C "$2" -f -
}

# The next three functions check files and start no program.
differs_in_one_name() {
    [ "$(LC_ALL=C grep -obUa 'STANDIN0[.]dll' "$with_devices" | wc -l)" -eq 1 ] &&
        LC_ALL=C sed 's/STANDIN0[.]dll/SETUPAPI.dll/' "$with_devices" | cmp - "$program"
}

# is_bound PROGRAM: whether the program's load configuration lets Windows resolve imports in the system's folder only.
is_bound() {
    base=$($target-objdump -p "$1" | sed -n 's/^ImageBase[[:space:]]*//p')
    entry=$($target-objdump -p "$1" | sed -n 's/^Entry a \([0-9a-f]*\) 00000048 .*/\1/p')
    flags=$((0x$base + 0x${entry:-0} + 54))
    $target-objdump -s --start-address=$flags --stop-address=$((flags + 2)) "$1" | grep -q '^ [0-9a-f]* 0008 '
}

has_no_path_of_this_machine() {
    ! LC_ALL=C grep -obUaE "$PWD|$cache|$HOME/" "$1"
}

echo "$released"
exec 8>"$cache/lock" # only one run of check.sh at a time uses the Debian in the cache
flock 8
if [ -z "${UPDATER_EMULATE:-}" ] && runs_32_bit; then emulated=''; else emulated=1; fi
install_packages zip
machine_install
# Wine draws the symbols in title bars with the font marlett.ttf. Wine looks for this font only in /usr/share/fonts, so
# ln links the font into this folder.
machine_debian "$root" "wine wine32 fonts-wine xvfb imagemagick zip" "dpkg --add-architecture i386" \
    "ln -s /usr/share/wine/fonts/marlett.ttf /usr/share/fonts"
make_prefix

rm -rf "$results"
mkdir -p "$results"
program=$results/released/$updater.exe
unpack "$released" "$results/released"
with_devices=$made/check/copy/$updater.exe
check "the program in the check is the released one, byte for byte" cmp "$program" \
    "$build/packaging/windows/program/$updater.exe"
check "the program in the checks with devices differs from the released one only in the name of one DLL" differs_in_one_name
for file in "$program" "$released"; do
    check "$(basename "$file") binds its libraries to the system's folder" is_bound "$file"
    check "$(basename "$file") contains no path of this machine" has_no_path_of_this_machine "$file"
done

as_root rm -rf "$work"
as_root mkdir -p "$work/package" "$work/damaged" "$work/devices" "$work/devices-package" "$work/pictures"
sh packaging/windows/check/archive.sh "$build/check-archive.zip"
as_root cp "$build/check-archive.zip" "$work/package/fw.1.2.zip"
as_root cp "$released" "$work/package/package.exe"
# Damages a package: overwrites the last four bytes of its gzip stream, which hold the size of the stream's contents.
as_root cp "$released" "$work/damaged/package.exe"
printf '\377\377\377\377' | as_root dd of="$work/damaged/package.exe" bs=1 conv=notrunc status=none \
    seek=$(($(payload_start "$released") + $(wc -c <"$made/package.tar.gz") - 4))
as_root cp "$program" "$made/check"/*.exe "$made/check"/*.dll "$made/check/bus"/*.exe "$made/check/bus"/*.sys \
    "$made/check/pair"/*.exe packaging/windows/check/bus/simbus.inf packaging/checks.sh packaging/windows/check/*.sh "$work"
as_root cp "$made/check"/*.dll "$made/check"/UninstallDevices_*.exe "$work/devices"
as_root cp "$with_devices" "$work/devices"
as_root cp "$made/check_package.exe" "$work/devices-package/package.exe"
as_root cp -a "$root/prefix" "$work"

run /check/run.sh "$results/wine.log" || failures=$((failures + 1))
fetch /check/pictures "$results"
as_root rm -rf "$image" "$work"
[ "$failures" -eq 0 ] || fail "Not all checks hold; see $results/wine.log"
