#!/bin/sh
# Exit status 0 if the libraries of the Windows program and the Wine for it are in the cache; making them takes longer
# than all other checks together. Otherwise prints the first one that is missing.
cd "$(dirname "$0")/../.." || exit 1
. packaging/windows/common.sh >/dev/null
for part in qt.recipe quazip.recipe wine/ready wine/prefix.sh; do
    [ -e "$cache/$part" ] || fail "$cache has no $part"
done 2>&1
