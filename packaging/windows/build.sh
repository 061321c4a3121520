#!/bin/sh
# build.sh [i686|x86_64]: builds the Windows program from nothing: Qt and QuaZip as static libraries out of the
# distribution's source packages (kept in a cache folder), then the updater, its ZIP and its self-extracting package.
# Without an argument for the processor whose programs check.sh can run here.
# UPDATER_SIGN: a command that signs the file whose name is appended to it; nothing is signed without it.
set -e
cd "$(dirname "$0")/../.."
. packaging/windows/common.sh

jobs=$(nproc)
qt_source=$cache/src/qtbase-opensource-src
quazip_source=$cache/src/libquazip1-qt5
# The sources lack a header for tablets. The rest is left out because the updater does not use it.
qt_options="-opensource -confirm-license -xplatform win32-g++ -device-option CROSS_COMPILE=$arch-w64-mingw32-
    -static -release -optimize-size -no-pch -nomake examples -nomake tests
    -no-opengl -no-dbus -no-openssl -no-icu -no-freetype -no-libjpeg -no-gif
    -system-zlib -qt-libpng -qt-pcre -qt-harfbuzz -qt-doubleconversion
    -no-feature-sql -no-feature-network -no-feature-testlib -no-feature-xml -no-feature-printer
    -no-feature-tabletevent -no-feature-direct2d -no-feature-direct2d1_1 -no-feature-vulkan -no-feature-graphicsview"
# The folder that the libraries believe to be installed in: none of this machine's.
qt_prefix=/zefo-vynt-windows/qt
quazip_options="-DCMAKE_BUILD_TYPE=MinSizeRel -DBUILD_SHARED_LIBS=OFF -DQUAZIP_BZIP2=OFF -DQUAZIP_FETCH_LIBS=OFF"

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

# recipe SOURCE OPTIONS: all that decides what a library becomes: version of the sources, compiler, options.
recipe() {
    (cd "$1" && dpkg-parsechangelog -S Source && dpkg-parsechangelog -S Version)
    dpkg-query -W "g++-mingw-w64-$debian_arch-posix" "mingw-w64-$debian_arch-dev" libz-mingw-w64-dev
    echo "$2" | tr -s ' \n' '\n'
}

# made NAME RECIPE: whether $kept/NAME was made by that recipe.
made() {
    [ "$(cat "$kept/$1.recipe" 2>/dev/null)" = "$2" ]
}

build_qt() {
    source_package qtbase-opensource-src
    qt_recipe=$(recipe "$qt_source" "-prefix $qt_prefix $qt_options")
    ! made qt "$qt_recipe" || return 0
    rm -rf "$kept/qt" "$kept/build-qt"
    mkdir -p "$kept/bin" "$kept/build-qt"
    # Qt asks for the compiler without the thread model in its name.
    for tool in gcc g++; do
        ln -sf "$(command -v "$arch-w64-mingw32-$tool-posix")" "$kept/bin/$arch-w64-mingw32-$tool"
    done
    echo "Building Qt; messages go to $kept/qt.log"
    # shellcheck disable=SC2086
    (cd "$kept/build-qt" && PATH=$kept/bin:$PATH MAKEFLAGS=-j$jobs && export PATH MAKEFLAGS &&
        "$qt_source/configure" -prefix $qt_prefix -extprefix "$kept/qt" -hostprefix "$kept/qt" $qt_options &&
        make && make -j1 install) >"$kept/qt.log" 2>&1 || fail "Qt could not be built; see $kept/qt.log"
    ln -s "$(qmake -qt=5 -query QT_INSTALL_TRANSLATIONS)" "$kept/qt/translations"
    rm -rf "$kept/build-qt"
    echo "$qt_recipe" >"$kept/qt.recipe"
}

build_quazip() {
    source_package libquazip1-qt5
    quazip_recipe=$(recipe "$quazip_source" "$quazip_options" && echo "$qt_recipe")
    ! made quazip "$quazip_recipe" || return 0
    # Qt's network library, which only QuaZip's own tests use, is not there; Qt's CMake files take no for an error.
    sed -i 's/OPTIONAL_COMPONENTS Network Test)/)/' "$quazip_source/CMakeLists.txt"
    rm -rf "$kept/quazip" "$kept/build-quazip"
    # shellcheck disable=SC2086
    cmake -G Ninja -S "$quazip_source" -B "$kept/build-quazip" --toolchain "$PWD/cmake/mingw-$arch.cmake" \
        $quazip_options -DCMAKE_CXX_FLAGS="-ffile-prefix-map=$cache=." -DCMAKE_PREFIX_PATH="$kept/qt" \
        -DCMAKE_INSTALL_PREFIX="$kept/quazip"
    cmake --build "$kept/build-quazip" --target install
    rm -rf "$kept/build-quazip"
    echo "$quazip_recipe" >"$kept/quazip.recipe"
}

# self_contained PROGRAM: fails where it needs a DLL that comes with the compiler or a library, not with Windows.
self_contained() {
    for dll in $("$arch-w64-mingw32-objdump" -p "$1" | sed -n 's/^\s*DLL Name: //p'); do
        [ -z "$(find "/usr/$arch-w64-mingw32" "/usr/lib/gcc/$arch-w64-mingw32" -iname "$dll")" ] ||
            fail "$1 needs $dll"
    done
}

# What the program ends up with depends on the sources alone: the ZIP has the time of their commit.
make_release() {
    rm -rf "$build/release"
    mkdir -p "$build/release/package" "$build/release/zip/content"
    cp "$build/packaging/windows/$updater"-*.exe "$build/release/package"
    package=$(basename "$build/release/package"/*.exe .exe)
    # In folders of their own: the program takes a ZIP beside the package for the firmware archive.
    cp "$build/app/$updater.exe" "$build/licences.txt" "$build/release/zip/content"
    find packaging/windows/companions -maxdepth 1 -type f ! -name .gitignore \
        -exec cp {} "$build/release/zip/content" \;
    chmod 644 "$build/release/zip/content"/*
    touch -d "@$(git log -1 --format=%ct)" "$build/release/zip/content"/*
    (cd "$build/release/zip/content" && find . -type f | sort | TZ=UTC zip -q -9 -X -@ "../$package.zip")
    rm -r "$build/release/zip/content"
    cp "$build/licences.txt" "$build/release/package"
    (cd "$build/release" && find . -type f | sort | xargs sha256sum >../SHA256SUMS && mv ../SHA256SUMS .)
    wc -c "$build/app/$updater.exe" "$build/release/package"/*.exe "$build/release/zip"/*
}

debian_arch=$(echo $arch | tr _ -)
# shellcheck disable=SC2086
install_packages $build_packages g++-mingw-w64-$debian_arch-posix libz-mingw-w64-dev make perl dpkg-dev imagemagick zip
build_qt
build_quazip

mkdir -p "$build"
sh packaging/windows/licences.sh "$qt_source" "$quazip_source" $debian_arch >"$build/licences.txt"
cmake -G Ninja -S . -B "$build" --toolchain "$PWD/cmake/mingw-$arch.cmake" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$kept/qt;$kept/quazip" -DUPDATER_SIGN="${UPDATER_SIGN:-}"
cmake --build "$build"

self_contained "$build/app/$updater.exe"
self_contained "$build/packaging/windows/$updater"-*.exe
make_release
