#!/bin/sh
# Compares the headers of platform/win32 with mingw-w64's: constants, types, layouts and functions, as one and the
# same compiler for 32-bit Windows sees them; and the identifiers and the interface that sources write themselves.
# Exit status 77 where that compiler is not installed.
here=$(cd "$(dirname "$0")" && pwd)
layer=${1:-$here/../../platform/win32/include}
compiler=i686-w64-mingw32-g++-posix
command -v $compiler >/dev/null || {
    echo "Not compared: $compiler is not installed."
    exit 77
}
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT

# The layer has no use for the calling convention that its declarations state; here it is compared too.
mkdir "$work/include"
for header in "$layer"/*.h; do
    sed -E 's/^#define (WINAPI|CALLBACK|NTAPI|STDMETHODCALLTYPE)$/& __stdcall/' "$header" \
        >"$work/include/${header##*/}"
done
headers=$(cd "$layer" && ls -- *.h)
for header in $headers; do
    # A semicolon of its own makes the end of one file the end of a declaration.
    (cat "$layer/$header" && echo ";") | $compiler -x c++ -w -fpreprocessed -dD -E -P - |
        sed ':join; /\\$/ { N; s/\\\n//; b join }; /^#/!s/[;{}]/\n&\n/g'
done | awk -f "$here/declarations.awk" >"$work/declarations" || exit 1
grep -q '^FUNCTION' "$work/declarations" && grep -q '^METHOD\|^MEMBER' "$work/declarations" ||
    { echo "No declarations found in $layer"; exit 1; }

# table NAME FLAG...: what the headers that the flags lead to make of the declarations.
table() {
    name=$1
    shift
    {
        echo '#include <windows.h>'
        echo 'extern "C" {'
        echo '#include <hidsdi.h>'
        echo '}'
        for header in $headers; do echo "#include <$header>"; done
        echo "#include \"$here/table.h\""
        echo 'void table() {'
        cat "$work/declarations"
        echo '}'
    } >"$work/$name.cpp"
    $compiler -std=c++17 -O2 -w -fpermissive -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0601 -DWIN32_LEAN_AND_MEAN "$@" \
        -S -o "$work/$name.s" "$work/$name.cpp" || exit 1
    # On 32-bit Windows long and int are both 32 bits wide.
    sed -n 's/^[[:space:]]*#@ //p' "$work/$name.s" | c++filt -_ |
        sed 's/void ofType<\(.*\)>()/\1/; s/( stdcall\*)/(__stdcall*)/g; s/unsigned long/unsigned int/g; s/\blong\b/int/g' >"$work/$name"
    [ -s "$work/$name" ] || exit 1
}
table layer -isystem "$work/include"
table genuine
echo "$(wc -l <"$work/layer") properties compared."
diff -U0 --label layer --label genuine "$work/layer" "$work/genuine" || exit 1

# Sources that write identifiers, each of which identifiers.h has to name.
root=$here/../..
sources="$root/platform/machine/devicetree.h $root/platform/win32/ole32.cpp $root/system/audioendpointskeeper.cpp \
    $root/devices/interfaceclass.cpp"
{
    echo '#include <windows.h>'
    echo '#define INITGUID'
    echo '#undef DECLSPEC_SELECTANY' # which would hide the values from static_assert
    echo '#define DECLSPEC_SELECTANY constexpr'
    for header in hidclass usbiodef mmdeviceapi functiondiscoverykeys_devpkey; do echo "#include <$header.h>"; done
    for source in $sources; do
        name=${source##*/}
        echo "namespace ${name%.*} {"
        sed -n '/^constexpr \(GUID\|IID\|CLSID\|PROPERTYKEY\) /,/;$/p' "$source" |
            sed -E 's/^constexpr [A-Z]+ ([A-Za-z]+) = .*/&\n#pragma name \1/' >"$work/constants"
        grep -v '^#pragma name' "$work/constants"
        sed -n "s/^#pragma name /${name%.*}::/p" "$work/constants" >>"$work/names"
        echo '}'
    done
    echo "#include \"$here/identifiers.h\""
} >"$work/identifiers.cpp"
$compiler -std=c++17 -w -D_WIN32_WINNT=0x0601 -fsyntax-only "$work/identifiers.cpp" || exit 1
while read -r name; do
    grep -q "$name\b" "$here/identifiers.h" || { echo "Not compared: $name"; exit 1; }
done <"$work/names"

# The interface that no header declares: alike in both sources, and its one useful operation the thirteenth.
for source in "$root/platform/win32/ole32.cpp" "$root/system/audioendpointskeeper.cpp"; do
    sed -n '/^struct IPolicyConfiguration/,/^};/p' "$source" >"$work/${source##*/}"
done
{
    echo '#include <mmdeviceapi.h>'
    cat "$work/ole32.cpp"
    echo "#include \"$here/table.h\""
    echo 'void table() { METHOD(IPolicyConfiguration, SetDefaultEndpoint) }'
} >"$work/policy.cpp"
$compiler -std=c++17 -O2 -w -S -o "$work/policy.s" "$work/policy.cpp" || exit 1
place=$(sed -n 's/.*#@ place of .* //p' "$work/policy.s")
[ "$place" = $((12 * 4 + 1)) ] || { echo "SetDefaultEndpoint is at $place of the method table."; exit 1; }
diff "$work/ole32.cpp" "$work/audioendpointskeeper.cpp"
