#!/bin/sh
# Builds the Windows program from nothing: Qt and QuaZip as static libraries for 32-bit Windows out of the
# distribution's source packages (kept in a cache folder), then the updater, its ZIP and its self-extracting package.
set -e
cd "$(dirname "$0")/../.."
. packaging/windows/common.sh

jobs=$(nproc)
# The sources lack a header for tablets. The rest is left out because the updater does not use it.
qt_options="-opensource -confirm-license -xplatform win32-g++ -device-option CROSS_COMPILE=i686-w64-mingw32-
    -static -release -optimize-size -no-pch -nomake examples -nomake tests
    -no-opengl -no-dbus -no-openssl -no-icu -no-freetype -no-libjpeg -no-gif
    -system-zlib -qt-libpng -qt-pcre -qt-harfbuzz -qt-doubleconversion
    -no-feature-sql -no-feature-network -no-feature-testlib -no-feature-xml -no-feature-printer
    -no-feature-tabletevent -no-feature-direct2d -no-feature-direct2d1_1 -no-feature-vulkan"

# source_package NAME: unpacks the distribution's source package to $cache/src/NAME. The machine's own list of
# package sources may be without source packages, so this one is made from it.
source_package() {
    [ ! -d "$cache/src/$1" ] || return 0
    mkdir -p "$cache/apt/lists/partial" "$cache/apt/none" "$cache/src"
    # shellcheck disable=SC2016
    debian_repositories 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' >"$cache/apt/sources.list"
    set -- "$1" -q -o APT::Sandbox::User=root -o Dir::Etc::SourceList="$cache/apt/sources.list" \
        -o Dir::Etc::SourceParts="$cache/apt/none" -o Dir::State::Lists="$cache/apt/lists"
    name=$1
    shift
    apt-get "$@" update && (cd "$cache/src" && apt-get "$@" source --download-only "$name") ||
        fail "Cannot download the source package $name"
    dpkg-source -x "$cache/src/${name}_"*.dsc "$cache/src/$name"
}

# made NAME RECIPE: whether $cache/NAME was made by that recipe.
made() {
    [ "$(cat "$cache/$1.recipe" 2>/dev/null)" = "$2" ]
}

build_qt() {
    ! made qt "$qt_options" || return 0
    source_package qtbase-opensource-src
    rm -rf "$cache/qt" "$cache/build-qt"
    mkdir -p "$cache/bin" "$cache/build-qt"
    # Qt asks for the compiler without the thread model in its name.
    for tool in gcc g++; do
        ln -sf "$(command -v i686-w64-mingw32-$tool-posix)" "$cache/bin/i686-w64-mingw32-$tool"
    done
    echo "Building Qt; messages go to $cache/qt.log"
    # shellcheck disable=SC2086
    (cd "$cache/build-qt" && PATH=$cache/bin:$PATH MAKEFLAGS=-j$jobs && export PATH MAKEFLAGS &&
        ../src/qtbase-opensource-src/configure -prefix "$cache/qt" $qt_options && make && make -j1 install) \
        >"$cache/qt.log" 2>&1 || fail "Qt could not be built; see $cache/qt.log"
    ln -s "$(qmake -qt=5 -query QT_INSTALL_TRANSLATIONS)" "$cache/qt/translations"
    rm -rf "$cache/build-qt"
    echo "$qt_options" >"$cache/qt.recipe"
}

build_quazip() {
    ! made quazip "$qt_options" || return 0
    source_package libquazip1-qt5
    # Qt's network library, which only QuaZip's own tests use, is not there; Qt's CMake files take no for an error.
    sed -i 's/OPTIONAL_COMPONENTS Network Test)/)/' "$cache/src/libquazip1-qt5/CMakeLists.txt"
    rm -rf "$cache/quazip" "$cache/build-quazip"
    cmake -G Ninja -S "$cache/src/libquazip1-qt5" -B "$cache/build-quazip" --toolchain "$PWD/cmake/mingw-i686.cmake" \
        -DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_PREFIX_PATH="$cache/qt" -DCMAKE_INSTALL_PREFIX="$cache/quazip" \
        -DBUILD_SHARED_LIBS=OFF -DQUAZIP_BZIP2=OFF -DQUAZIP_FETCH_LIBS=OFF
    cmake --build "$cache/build-quazip" --target install
    rm -rf "$cache/build-quazip"
    echo "$qt_options" >"$cache/quazip.recipe"
}

# self_contained PROGRAM: fails where it needs a DLL that comes with the compiler or a library, not with Windows.
self_contained() {
    for dll in $(i686-w64-mingw32-objdump -p "$1" | sed -n 's/^\s*DLL Name: //p'); do
        [ -z "$(find /usr/i686-w64-mingw32 /usr/lib/gcc/i686-w64-mingw32 -iname "$dll")" ] || fail "$1 needs $dll"
    done
}

# shellcheck disable=SC2086
install_packages $build_packages $windows_packages make perl dpkg-dev imagemagick zip
build_qt
build_quazip

cmake -G Ninja -S . -B "$build" --toolchain "$PWD/cmake/mingw-i686.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$cache/qt;$cache/quazip"
cmake --build "$build"

self_contained "$build/app/$updater.exe"
self_contained "$build/packaging/windows/$updater"-*.exe

# In folders of their own: the program takes a ZIP beside the package for the firmware archive.
rm -rf "$build/package" "$build/zip"
mkdir "$build/package" "$build/zip"
cp "$build/packaging/windows/$updater"-*.exe "$build/package"
package=$(basename "$build/package/$updater"-*.exe .exe)
zip -q -9 -X -j "$build/zip/$package.zip" "$build/app/$updater.exe"
wc -c "$build/app/$updater.exe" "$build/package"/* "$build/zip"/*
