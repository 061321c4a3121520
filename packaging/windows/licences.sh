#!/bin/sh
# licences.sh QT-SOURCES QUAZIP-SOURCES PROCESSOR: the licence texts of all that is linked into the Windows program, each
# under a heading.
set -e
qt=$1
quazip=$2
doc=/usr/share/doc

text() {
    printf '\n======== %s ========\n\n' "$1"
    cat "$2"
}

echo "The ZEFO VYNT firmware update contains the following libraries, under these licences."
text "Qt" "$qt/LICENSE.LGPL3"
text "GNU General Public License, to which the one above refers" "$qt/LICENSE.GPL3"
text "QuaZip" "$quazip/COPYING"
text "zlib" "$doc/libz-mingw-w64-dev/copyright"
text "libpng" "$qt/src/3rdparty/libpng/LICENSE"
text "PCRE2" "$qt/src/3rdparty/pcre2/LICENCE"
text "PCRE2's compiler" "$qt/src/3rdparty/pcre2/LICENCE-SLJIT"
text "HarfBuzz" "$qt/src/3rdparty/harfbuzz-ng/COPYING"
text "double-conversion" "$qt/src/3rdparty/double-conversion/LICENSE"
text "TinyCBOR" "$qt/src/3rdparty/tinycbor/LICENSE"
text "MD4C" "$qt/src/3rdparty/md4c/LICENSE.md"
text "Easing equations" "$qt/src/3rdparty/easing/LICENSE"
text "FreeBSD's number parsing" "$qt/src/3rdparty/freebsd/LICENSE"
text "RFC 6234" "$qt/src/3rdparty/rfc6234/LICENSE"
for part in "$qt"/src/corelib/*/*_LICENSE.txt "$qt"/src/gui/painting/*_LICENSE.txt "$qt"/src/gui/text/*_LICENSE.txt; do
    text "$(basename "$part" _LICENSE.txt)" "$part"
done
text "The compiler's run-time libraries" "$doc/gcc-mingw-w64-$3-posix/copyright"
text "mingw-w64" "$doc/mingw-w64-common/copyright"
