#!/bin/sh
# archive.sh FILE: writes a firmware archive to FILE. The archive has one image, for a transmitter, as text with one
# byte per line. The image contains a version file and a USB descriptor file.
set -e
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
{
    echo "00 00 00 00 00"                                              # image header; the file table follows
    echo "05 0A 00 00 39 2E 38 2E 37 2C 00 00 00 00"                   # version file: "9.8.7,"
    echo "0C 22 00 00 0F 00 00 00 00 00 00 00 00 00 01 00 06 00 12 00" # USB descriptor file, with one record
    echo "12 01 00 02 00 00 00 40 31 7A 04 00 00 01 00 00 00 01"       # the record: device descriptor, 7A31:0004
    echo "55 00 00 00 00"                                              # end of the file table
} | tr ' ' '\n' >"$folder/transmitter.ff"
echo "Made for a check." >"$folder/notes.txt"
rm -f "$1"
zip -q -j "$1" "$folder/transmitter.ff" "$folder/notes.txt"
