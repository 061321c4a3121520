# Sourced by build.sh and check.sh, at the root of the sources: for which processor, and where things are.

. scripts/packages.sh

# What takes long to make is kept here; overridable, outside the sources by default.
cache=${UPDATER_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zefo-vynt-windows}
mkdir -p "$cache" || fail "Cannot create the folder $cache"
cache=$(cd "$cache" && pwd)

# runs_32_bit: whether this machine runs 32-bit programs, found out with the smallest there is: an ELF header, one
# program header, and nine bytes that end with status 32.
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

# Users get the 32-bit program, which runs on every Windows. A machine that does not run 32-bit programs cannot check
# that one: there the same sources are built for the other processor.
case ${1:-} in
i686 | x86_64)
    arch=$1
    ;;
'')
    if runs_32_bit; then arch=i686; else arch=x86_64; fi
    ;;
*)
    fail "Usage: $0 [i686|x86_64]"
    ;;
esac
kept=$cache/$arch
build=$PWD/build/windows/$arch
updater=zefo-vynt-firmware-update
mkdir -p "$kept"
echo "Windows on $arch"

# debian_repositories FORMAT [FILTER]: Debian's repositories as this machine's apt knows them.
debian_repositories() {
    format=$1
    shift
    set -- --format "$format" 'Created-By: Packages' 'Origin: Debian' "$@"
    [ -n "$(apt-get indextargets "$@")" ] || as_root apt-get update -qq || fail "apt-get update failed."
    apt-get indextargets "$@" | sort -u
}
