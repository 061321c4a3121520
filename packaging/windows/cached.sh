#!/bin/sh
# Exit status 0 where the libraries of the Windows program and the Wine for it have been made already, which takes longer
# than all other checks together; otherwise tells the first that is missing.
cd "$(dirname "$0")/../.." || exit 1
. packaging/windows/common.sh >/dev/null
for part in qt.recipe quazip.recipe wine-root/ready; do
    [ -e "$kept/$part" ] || fail "$kept has no $part"
done 2>&1
