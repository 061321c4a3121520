# Run by check.sh inside the Debian that has Wine. Every check prints a line; the exit status tells whether all held.
cd /check || exit 1
mount -t proc proc /proc
mount -t tmpfs tmpfs /tmp
mkdir -p /dev/shm
mount -t tmpfs tmpfs /dev/shm

export HOME=/check WINEPREFIX=/check/prefix WINEARCH=win32 LC_ALL=C.UTF-8 DISPLAY=:7
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
title="ZEFO VYNT Firmware Update"
updater=zefo-vynt-firmware-update.exe
temporary=$WINEPREFIX/drive_c/users/root/Temp
logs=$temporary/ZEFO_VYNT_Firmware_Update_Logs
failures=0

# check SENTENCE COMMAND...
check() {
    sentence=$1
    shift
    if "$@"; then
        echo "holds:  $sentence"
    else
        echo "FAILED: $sentence"
        failures=$((failures + 1))
    fi
}

# A sound card that plays into nothing, so that there are audio endpoints.
printf 'pcm.!default { type null }\nctl.!default { type null }\n' >"$HOME/.asoundrc"
Xvfb $DISPLAY -screen 0 800x600x24 -nolisten tcp 2>/dev/null &
until [ -S /tmp/.X11-unix/X7 ]; do sleep 0.1; done
# With the last program Wine's devices and services go, and what starts meanwhile finds them half gone; so one program
# stays all the time.
wineboot -i
wineserver -w
sleep infinity | wine cmd >/dev/null 2>&1 &
# There is no window manager: Wine draws the title bars.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
wine --version

tool() { wine windowtool.exe "$@"; }

# picture NAME: of the screen, once it has come to rest.
picture() {
    for _ in $(seq 50); do
        import -window root "pictures/$1.png"
        sleep 0.3
        import -window root "pictures/again.png"
        ! cmp -s "pictures/$1.png" pictures/again.png || break
    done
    rm pictures/again.png
}

picture_differs() { ! cmp -s "pictures/$1.png" "pictures/$2.png"; }
text_is() { [ "$1" = "$2" ] || { printf 'Got:\n%s\n' "$1"; false; }; }
log() { cat "$logs"/*.txt; }
log_holds() { log | tr -d '\r' | grep -qxF "$1" || { log; false; }; }
every_log_line_ends_with_cr_lf() {
    lines=$(log | wc -l)
    [ "$lines" -gt 0 ] && [ "$(log | grep -c "$(printf '\r')\$")" = "$lines" ]
}

# The program by itself.
wine $updater &
program=$!
check "the start screen shows" tool wait "$title"
picture start-screen
system_menu=$(tool menu "$title" | tr -d '\r')
check "the system menu has Override directly above About..." \
    text_is "$(echo "$system_menu" | grep -A 1 '^0020')" "$(printf '0020 Override\n0010 About...')"
tool command "$title" 0x20
picture main-page
check "Override changes the screen" picture_differs start-screen main-page
tool space "$title"
check "the main page is there: its first button opens the file dialog" tool wait "Open File"
picture file-dialog
tool close "Open File"
tool command "$title" 0x10
check "About... opens the About box" tool wait About
picture about
tool close About
tool close "$title"
wait $program
check "closing the window ends the program with exit status 0" [ $? -eq 0 ]
check "the log is where it belongs, with CR LF line ends" every_log_line_ends_with_cr_lf
check "the log tells the program's folder" log_holds 'Application path:  "Z:/check"'
rm -r "$logs"

# The package, with the archive beside it.
unpacked_programs() { find "$temporary" -name $updater; }
(cd package && exec wine package.exe) &
package=$!
check "the package starts the program" tool wait "$title"
check "the program is unpacked into one temporary folder" [ "$(unpacked_programs | wc -l)" -eq 1 ]
picture start-screen-with-archive
tool command "$title" 0x20
picture main-page-with-archive
tool close "$title"
wait $package
check "the package ends with the program's exit status" [ $? -eq 0 ]
check "the archive was looked for beside the package" log_holds 'Looking firmware file in:  "Z:/check/package"'
check "the archive was loaded" log_holds 'PID found: 0x0004 in file: 0x000C'
check "the temporary folder is removed" [ "$(find "$temporary" -maxdepth 1 -name '{*' | wc -l)" -eq 0 ]

# The detector, against Wine's two HID interfaces, which have no enumerator name.
WINEDEBUG=+setupapi wine detectorcheck.exe 2 >detector.txt 2>setupapi.txt
check "the detector starts and stops 100 times and leaves nothing behind" [ $? -eq 0 ]
cat detector.txt
check "it completes and passes over interfaces without enumerator name" \
    text_is "$(head -n 1 detector.txt | tr -d '\r')" "complete: 0 arrivals, 0 known"
examined() {
    grep -A 5 "SetupDiGetDeviceInstanceIdW instance ID: .*VID_845E&PID_$1" setupapi.txt |
        grep -q 'SetupDiGetDeviceRegistryPropertyW .* prop 22,'
}
check "it examined the first interface" examined 0001
check "it examined the second interface" examined 0002

# The audio service.
wine sc create audiosrv binPath= 'Z:\check\audioservice.exe' >/dev/null
wine net start audiosrv >/dev/null
check "the audio service is stopped and started" text_is "$(wine servicecheck.exe | tr -d '\r')" "state 4
Service stopped successfully
state 1
Service is already stopped.
Service start pending...
Service started successfully.
state 4
Cannot start the service because it is already running
Cannot start the service because it is already running"

# The audio endpoints.
check "without the policy object the default endpoints stay as they are" wine keepercheck.exe

wineserver -k
[ $failures -eq 0 ] || { echo "$failures checks failed."; exit 1; }
