#!/bin/sh
# Builds Qt and QuaZip as static libraries from the distribution's source packages and keeps them in a cache folder.
# Then builds the updater for Windows and its self-extracting package.
# UPDATER_SIGN is the command that signs a file; the file's name is appended. Without UPDATER_SIGN nothing is signed.
set -e
cd "$(dirname "$0")/../.."
. packaging/windows/common.sh

jobs=$(nproc)
# With a base folder ccache would change the names of source files in the program.
export CCACHE_BASEDIR=
qt_source=$cache/src/qtbase-opensource-src
quazip_source=$cache/src/libquazip1-qt5
# These parts of Qt are left out. The distribution's sources lack a header for tabletevent; the updater uses none of
# the other parts.
unused="sql network testlib xml printer tabletevent direct2d direct2d1_1 vulkan graphicsview
    calendarwidget colordialog columnview commandlinkbutton datawidgetmapper dial errormessage fontcombobox fontdialog
    inputdialog keysequenceedit lcdnumber mdiarea progressdialog splashscreen syntaxhighlighter systemtrayicon toolbox
    undogroup undostack undoview wizard
    concatenatetablesproxymodel itemmodeltester transposeproxymodel
    big_codecs commandlineparser islamiccivilcalendar jalalicalendar movie pdf picture sharedmemory statemachine
    systemsemaphore textmarkdownreader textmarkdownwriter textodfwriter"
# shellcheck disable=SC2086
qt_options="-opensource -confirm-license -xplatform win32-g++ -device-option CROSS_COMPILE=$target-
    -static -release -optimize-size -nomake examples -nomake tests
    -no-opengl -no-dbus -no-openssl -no-icu -no-freetype -no-libjpeg -no-gif
    -system-zlib -qt-libpng -qt-pcre -qt-harfbuzz -qt-doubleconversion
    $(printf -- "-no-feature-%s " $unused)"
# Keeps the names of this machine's folders out of the program.
prefix_map=-ffile-prefix-map=$cache=.
# This made-up folder replaces the real installation folder in Qt's configuration.
qt_prefix=/zefo-vynt-windows/qt
quazip_options="-DCMAKE_BUILD_TYPE=MinSizeRel -DBUILD_SHARED_LIBS=OFF -DQUAZIP_BZIP2=OFF -DQUAZIP_FETCH_LIBS=OFF"

# source_package NAME: downloads the distribution's source package and unpacks it to $cache/src/NAME. Does nothing if
# that folder exists. Makes its own list of repositories, because the machine's list may lack source packages.
source_package() {
    [ ! -d "$cache/src/$1" ] || return 0
    mkdir -p "$cache/apt/lists/partial" "$cache/apt/none" "$cache/src"
    [ -n "$(apt-get indextargets)" ] || as_root apt-get update -qq || fail "apt-get update failed."
    # shellcheck disable=SC2016
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' \
        'Origin: Debian' | sort -u >"$cache/apt/sources.list"
    set -- "$1" -q -o APT::Sandbox::User=root -o Dir::Etc::SourceList="$cache/apt/sources.list" \
        -o Dir::Etc::SourceParts="$cache/apt/none" -o Dir::State::Lists="$cache/apt/lists"
    name=$1
    shift
    apt-get "$@" update && (cd "$cache/src" && apt-get "$@" source --download-only "$name") ||
        fail "Cannot download the source package $name"
    dpkg-source -x "$cache/src/${name}_"*.dsc "$cache/src/$name"
}

# recipe SOURCE OPTIONS: prints everything that the build of a library depends on: the version of the sources in the
# folder SOURCE, the compiler, and the options.
recipe() {
    (cd "$1" && dpkg-parsechangelog -S Source && dpkg-parsechangelog -S Version)
    dpkg-query -W g++-mingw-w64-i686-posix mingw-w64-i686-dev libz-mingw-w64-dev
    echo "$2" | tr -s ' \n' '\n'
}

# made NAME RECIPE: whether $cache/NAME was built with that recipe.
made() {
    [ "$(cat "$cache/$1.recipe" 2>/dev/null)" = "$2" ]
}

build_qt() {
    source_package qtbase-opensource-src
    qt_recipe=$(recipe "$qt_source" "-prefix $qt_prefix $qt_options")
    ! made qt "$qt_recipe" || return 0
    rm -rf "$cache/qt" "$cache/build-qt"
    mkdir -p "$cache/bin" "$cache/build-qt"
    # Qt's build calls the compilers by names without "-posix", the suffix for the thread model. These links
    # provide the names.
    for tool in gcc g++; do
        ln -sf "$(command -v $target-$tool-posix)" "$cache/bin/$target-$tool"
    done
    # A style of Qt includes the input dialog's header even if the dialog is left out. Removes the #include.
    sed -i '/#include <qinputdialog.h>/d' "$qt_source/src/plugins/styles/windowsvista/qwindowsvistastyle_p_p.h"
    echo "Building Qt; messages go to $cache/qt.log"
    # shellcheck disable=SC2086
    (cd "$cache/build-qt" && PATH=$cache/bin:$PATH MAKEFLAGS=-j$jobs && export PATH MAKEFLAGS &&
        "$qt_source/configure" -prefix $qt_prefix -extprefix "$cache/qt" -hostprefix "$cache/qt" $qt_options \
            "QMAKE_CFLAGS+=$prefix_map" "QMAKE_CXXFLAGS+=$prefix_map" &&
        make && make -j1 install) >"$cache/qt.log" 2>&1 || fail "Qt could not be built; see $cache/qt.log"
    ln -s "$(qmake -qt=5 -query QT_INSTALL_TRANSLATIONS)" "$cache/qt/translations"
    rm -rf "$cache/build-qt"
    echo "$qt_recipe" >"$cache/qt.recipe"
}

build_quazip() {
    source_package libquazip1-qt5
    quazip_recipe=$(recipe "$quazip_source" "$quazip_options" && echo "$qt_recipe")
    ! made quazip "$quazip_recipe" || return 0
    # Only QuaZip's tests use Qt's network library. This build of Qt has no network library, and Qt's CMake files would
    # report an error. So sed removes the library from QuaZip's list.
    sed -i 's/OPTIONAL_COMPONENTS Network Test)/)/' "$quazip_source/CMakeLists.txt"
    rm -rf "$cache/quazip" "$cache/build-quazip"
    # shellcheck disable=SC2086
    cmake -G Ninja -S "$quazip_source" -B "$cache/build-quazip" --toolchain "$PWD/cmake/mingw-i686.cmake" \
        $quazip_options -DCMAKE_CXX_FLAGS="$prefix_map" -DCMAKE_PREFIX_PATH="$cache/qt" \
        -DCMAKE_INSTALL_PREFIX="$cache/quazip"
    cmake --build "$cache/build-quazip" --target install
    rm -rf "$cache/build-quazip"
    echo "$quazip_recipe" >"$cache/quazip.recipe"
}

# self_contained PROGRAM: fails if the program needs a DLL that comes with the compiler or a library. Users do not
# have these DLLs.
self_contained() {
    for dll in $($target-objdump -p "$1" | sed -n 's/^\s*DLL Name: //p'); do
        [ -z "$(find "/usr/$target" "/usr/lib/gcc/$target" -iname "$dll")" ] ||
            fail "$1 needs $dll"
    done
}

make_release() {
    rm -rf "$build/release"
    mkdir "$build/release"
    cp "$build/packaging/windows/$updater"-*.exe "$build/licences.txt" "$build/release"
    (cd "$build/release" && sha256sum -- * >../SHA256SUMS && mv ../SHA256SUMS .)
    wc -c "$build/packaging/windows/program/$updater.exe" "$build/release"/*.exe
}

# shellcheck disable=SC2086
install_packages $build_packages g++-mingw-w64-i686-posix libz-mingw-w64-dev make perl dpkg-dev imagemagick
build_qt
build_quazip

mkdir -p "$build"
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
packaging/windows/licences.pl texts "$qt_source" "$quazip_source" "$version" >"$build/licences.txt"
cmake -G Ninja -S . -B "$build" --toolchain "$PWD/cmake/mingw-i686.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS="$prefix_map" -DCMAKE_PREFIX_PATH="$cache/qt;$cache/quazip" -DUPDATER_SIGN="${UPDATER_SIGN:-}"
cmake --build "$build"

self_contained "$build/packaging/windows/program/$updater.exe"
self_contained "$build/packaging/windows/$updater"-*.exe
make_release
