#!/bin/sh
# Saves pictures of every screen of the updater: in five languages, for both generations, on a dark desktop and at twice
# the size. The pictures go to build/screens. Needs a build (./run.sh).
# Usage: scripts/screens.sh [docs]; with "docs" it also renews the pictures in docs/images, except those of
# the Windows program.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

bench=${BENCH:-build/release/bench/bench}
[ -x "$bench" ] || fail "$bench is missing; run ./run.sh first."
screens=build/screens
log=$(mktemp)
trap 'rm -f "$log"' EXIT
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM

photograph() { # arguments: folder, locale, further arguments of the bench
    folder=$screens/$1
    locale=$2
    shift 2
    # Both runs show some of the same screens. The run without a fault comes last, so its pictures of
    # these screens remain.
    for fault in "--fault vanish@45" ""; do
        # shellcheck disable=SC2086
        LC_ALL='' LANG=$locale.UTF-8 "$bench" --speed 20 --screenshots "$folder" "$@" $fault >"$log" 2>&1 || {
            cat "$log"
            fail "The bench failed; see above."
        }
    done
}

rm -rf "$screens"
photograph en en_US
photograph es es_ES
photograph fr fr_FR
photograph de de_DE
photograph it it_IT
photograph vynt2 en_US --generation 2
photograph dark en_US --dark
QT_SCALE_FACTOR=2 photograph large en_US
echo "The pictures are in $screens."

[ "${1:-}" = docs ] || exit 0
cp "$screens/en/main-page.png" "$screens/en/start-screen.png" docs/images
cp "$screens/de/main-page.png" docs/images/german.png
cp "$screens/dark/main-page-unknown-device.png" docs/images/dark.png
cp "$screens/large/main-page.png" docs/images/large.png
rm -rf docs/images/walkthrough
scripts/walkthrough.sh docs/images/walkthrough
