# Sets the variables that the scripts of the Windows program share. Source this file in the root of the sources. Users
# get a 32-bit program, because a 32-bit program runs on every Windows.

. scripts/packages.sh

# The cache folder keeps what takes long to make. By default this folder is outside the sources.
cache=${UPDATER_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-windows}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
cache=$(cd "$cache" && pwd)

target=i686-w64-mingw32
build=$PWD/build/windows
updater=zefo-vynt-firmware-update
