#!/bin/sh
# Takes the pictures in docs/images anew: every screen of the updater in five languages, those that differ of the second
# generation and on a dark desktop, and a walk through an update on the bench. To be run in a checkout that is built,
# after a change of a screen.
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

bench=${BENCH:-build/release/bench/bench}
[ -x "$bench" ] || fail "$bench is missing; run ./run.sh first."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM

photograph() { # folder, locale, further arguments
    folder=docs/images/screens/$1
    locale=$2
    shift 2
    # A failed update first: what both show is kept of the second.
    for fault in "--fault vanish@45" ""; do
        # shellcheck disable=SC2086
        LC_ALL='' LANG=$locale.UTF-8 "$bench" --speed 20 --screenshots "$folder" "$@" $fault >"$log" 2>&1 || {
            cat "$log"
            fail "The bench did not come through; see above."
        }
    done
}

keep() { # folder, names of the pictures that stay in it
    folder=docs/images/screens/$1
    shift
    for picture in "$folder"/*.png; do
        name=$(basename "$picture" .png)
        case " $* " in
        *" $name "*) ;;
        *) rm "$picture" ;;
        esac
    done
}

rm -rf docs/images/screens docs/images/walkthrough
photograph en en_US
photograph es es_ES
photograph fr fr_FR
photograph de de_DE
photograph it it_IT
for language in es fr de it; do
    rm "docs/images/screens/$language/system-menu.png" # half of it is the desktop's own
done
photograph vynt2 en_US --generation 2
keep vynt2 start-screen main-page pairing-instructions
photograph dark en_US --dark
keep dark start-screen main-page-unknown-device main-page-incompatible update-failed pairing-instructions
cp docs/images/screens/en/main-page.png docs/images/screens/en/start-screen.png docs/images/
scripts/walkthrough.sh docs/images/walkthrough
