#!/bin/sh
# Presses keys in the bench on a virtual display: makes an archive, starts an update, pulls the headset's cable during
# the update, plugs the cable in again and updates again. Saves a picture of both windows at each step, for
# docs/images/walkthrough. Fails if a step is not reached within about 30 s.
# Usage: scripts/walkthrough.sh FOLDER. Needs a build (./run.sh).
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

folder=${1:?Usage: scripts/walkthrough.sh FOLDER}
bench=${BENCH:-build/release/bench/bench}
[ -x "$bench" ] || fail "$bench is missing; run ./run.sh first."
# shellcheck disable=SC2086
install_packages $display_packages
mkdir -p "$folder" || exit 1

work=$(mktemp -d)
end() {
    [ -z "$bench_pid" ] || kill "$bench_pid" 2>/dev/null
    [ -z "$display_pid" ] || kill "$display_pid" 2>/dev/null
    rm -rf "$work"
}
trap end EXIT

Xvfb -displayfd 3 -dpi 96 -screen 0 1360x650x24 3>"$work/display" 2>/dev/null &
display_pid=$!
until [ -s "$work/display" ]; do sleep 0.1; done
DISPLAY=:$(cat "$work/display")
export DISPLAY

TMPDIR=$work LC_ALL=C.UTF-8 "$bench" --image-size 16384 --speed 10 >"$work/log" 2>&1 &
bench_pid=$!
until [ -s "$work/log" ]; do sleep 0.1; done

steps=0
seen=0 # number of lines that the log had at the end of the previous step
step() { # arguments: name of the picture, pattern, number of new log lines that must match the pattern
    tries=0
    until [ "$(tail -n "+$((seen + 1))" "$work/log" | grep -c "$2")" -ge "$3" ]; do
        tries=$((tries + 1))
        [ "$tries" -lt 300 ] || fail "No log line led to the picture $1: fewer than $3 new lines match '$2'."
        sleep 0.1
    done
    sleep 0.5 # until the windows are painted
    seen=$(wc -l <"$work/log")
    steps=$((steps + 1))
    import -window root +dither -colors 128 "PNG8:$folder/$steps-$1.png" || exit 1
    echo "$steps. $1"
}
press() { # arguments: title of the window, keys
    window=$(xdotool search --sync --onlyvisible --name "$1" | tail -1)
    shift
    xdotool windowfocus --sync "$window" key --delay 100 "$@"
}
updater='^ZEFO VYNT Firmware Update$'
bench_window='^Bench$'

step plugged-in 'Bytes to read' 2
press "$bench_window" alt+t alt+h
step unplugged ': disconnected' 2
press "$bench_window" alt+n
press "$bench_window" alt+t alt+h
step new-archive 'Bytes to read' 4
press "$bench_window" alt+1
press "$updater" Tab Tab Return
step updating 'Headset: Committing' 1
press "$bench_window" alt+h alt+1
step cable-pulled 'Phase restore' 1
press '^Updating...$' Return
step failure-report 'Bytes to read' 1
press "$bench_window" alt+h
press "$updater" Tab space
step plugged-in-again 'Bytes to read' 1
press "$bench_window" alt+1
press "$updater" Tab Tab Return
step updating-again 'Headset: Committing' 1
press "$bench_window" alt+1
step updated 'Phase restore' 1
press '^Updating...$' Return
step pairing-instructions '' 0
