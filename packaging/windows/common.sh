# Sourced by build.sh and check.sh, at the root of the sources: where things are.

. scripts/packages.sh

# What takes long to make is kept here; overridable, outside the sources by default.
cache=${UPDATER_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-windows}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
cache=$(cd "$cache" && pwd)

build=$PWD/build/windows
updater=zefo-vynt-firmware-update

# debian_repositories FORMAT [FILTER]: Debian's repositories as this machine's apt knows them.
debian_repositories() {
    format=$1
    shift
    set -- --format "$format" 'Created-By: Packages' 'Origin: Debian' "$@"
    [ -n "$(apt-get indextargets "$@")" ] || as_root apt-get update -qq || fail "apt-get update failed."
    apt-get indextargets "$@" | sort -u
}
