#!/bin/sh
# Checks whether the cache has all its parts: Qt and QuaZip for Windows, and the Debian with Wine. If a part is missing,
# prints the first missing part and fails. Making these parts takes longer than all other checks together.
cd "$(dirname "$0")/../.." || exit 1
. packaging/windows/common.sh >/dev/null
for part in qt.recipe quazip.recipe wine/ready wine/prefix.sh; do
    [ -e "$cache/$part" ] || fail "$cache lacks $part"
done 2>&1
