#!/bin/sh
# bind.sh PROGRAM: strips a 32-bit Windows program. Then writes the address of the load configuration (see
# systemlibraries.cpp) into the program's header, because the linker does not write this address. With this address,
# Windows 10 (version 1607) and later resolve the program's imports in the system's folder only.
set -e
program=$1
tools=i686-w64-mingw32

# little_endian VALUE: prints the value as four bytes, the least significant byte first.
little_endian() {
    for shift in 0 8 16 24; do
        # shellcheck disable=SC2059
        printf "\\$(printf %o $(($1 >> shift & 255)))"
    done
}

# number_at OFFSET: prints the number in the four bytes at that offset of the program's file.
number_at() {
    od -An -v -j "$1" -N 4 -t u4 "$program" | tr -d ' '
}

symbol=$($tools-nm "$program" | sed -n 's/ . __load_config_used$//p')
[ -n "$symbol" ] || { echo "$program has no load configuration" >&2; exit 1; }
base=$($tools-objdump -p "$program" | sed -n 's/^ImageBase[[:space:]]*//p')
SOURCE_DATE_EPOCH=0 $tools-strip "$program" # keeps the current time out of the header
header=$(number_at 60)
directory=$((header + 24 + 96 + 10 * 8)) # skips signature, file header, optional header, 10 directories
size=72                                  # size of IMAGE_LOAD_CONFIG_DIRECTORY32
{
    little_endian $((0x$symbol - 0x$base))
    little_endian $size
} | dd of="$program" bs=1 seek=$directory conv=notrunc status=none
