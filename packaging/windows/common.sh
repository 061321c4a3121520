# Sets the variables of the scripts of the Windows program, which source this file at the root of the sources. Users get
# a 32-bit program, because it runs on every Windows.

. scripts/packages.sh

# The folder that caches what takes long to make. By default it is outside the sources.
cache=${UPDATER_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-windows}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
cache=$(cd "$cache" && pwd)

target=i686-w64-mingw32
build=$PWD/build/windows
updater=zefo-vynt-firmware-update
