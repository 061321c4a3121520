# Defines functions that install missing Debian packages, configure and build. Other scripts source this file.

build_packages="g++ mingw-w64-common cmake ninja-build ccache qtbase5-dev qtbase5-dev-tools qttools5-dev
    qttools5-dev-tools qttranslations5-l10n libquazip1-qt5-dev zlib1g-dev libudev-dev libsystemd-dev
    fontconfig fonts-dejavu-core git python3"
windows_packages="g++-mingw-w64-i686-posix libz-mingw-w64-dev"
fuzz_packages="clang libclang-rt-dev llvm"
benchmark_packages="libbenchmark-dev xvfb xauth"
display_packages="xvfb xdotool imagemagick"
machine_packages="qemu-system-x86"
package_packages="dpkg-dev file lintian desktop-file-utils appstream"
style_packages="clang-format clang-tidy"

fail() {
    echo "$*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "Packages are missing; run this as root, or install sudo."
    fi
}

# install_packages PACKAGE...: installs the packages that are missing.
install_packages() {
    missing=""
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    command -v apt-get >/dev/null || fail "This needs Debian's apt-get, to install:$missing"
    echo "Installing:$missing"
    # shellcheck disable=SC2086
    as_root flock /run/lock/updater-packages sh -c "apt-get update -qq &&
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >/dev/null" ||
        fail "Could not install:$missing"
}

# build PRESET: configures the build if necessary, then builds.
build() {
    [ -f "build/$1/build.ninja" ] || cmake --preset "$1" || fail "Could not configure the build ($1)."
    cmake --build --preset "$1" || fail "The build ($1) failed."
}
