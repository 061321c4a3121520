# Run by check.sh inside the Debian that has Wine. Every check prints a line; the exit status tells whether all held.
cd /check || exit 1
. ./checks.sh
mount -t proc proc /proc
mount -t tmpfs tmpfs /tmp
mkdir -p /dev/shm
mount -t tmpfs tmpfs /dev/shm

export HOME=/check WINEPREFIX=/check/prefix LC_ALL=C.UTF-8 DISPLAY=:7
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=;uiautomationcore=n'
title="ZEFO VYNT Firmware Update"
updater=zefo-vynt-firmware-update.exe
temporary=$WINEPREFIX/drive_c/users/root/Temp
logs=$temporary/ZEFO_VYNT_Firmware_Update_Logs

# A sound card that plays into nothing, so that there are audio endpoints.
printf 'pcm.!default { type null }\nctl.!default { type null }\n' >"$HOME/.asoundrc"
Xvfb $DISPLAY -screen 0 800x600x24 -nolisten tcp 2>/dev/null &
until [ -S /tmp/.X11-unix/X7 ]; do sleep 0.1; done
# With the last program Wine's devices and services go, and what starts meanwhile finds them half gone; so one program
# stays all the time. What Debian's starter says about 32-bit programs is known here.
wineboot -i 2>/dev/null
wineserver -w
sleep infinity | wine cmd >/dev/null 2>&1 &
# There is no window manager: Wine draws the title bars.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
wine --version
# Qt looks for it nowhere else.
mv uiautomationcore.dll "$WINEPREFIX/drive_c/windows/system32"

tool() { wine windowtool.exe "$@"; }
window_text() { tool text "$title" | tr -d '\r'; }

# shows TEXT...: whether the window tells all of these, within half a minute.
shows() {
    for _ in $(seq 60); do
        seen=$(window_text)
        missing=
        for text in "$@"; do
            echo "$seen" | grep -qF "$text" || missing=$text
        done
        [ -n "$missing" ] || return 0
        sleep 0.5
    done
    printf 'The window does not show "%s", but:\n%s\n' "$missing" "$seen"
    false
}

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
# The same to the eye: Qt draws a focused button's rounded corners anew with other roundings, one step of 255.
pictures_are_equal() { [ "$(compare -metric AE -fuzz 1% "pictures/$1.png" "pictures/$2.png" null: 2>&1)" = 0 ]; }
text_is() { [ "$1" = "$2" ] || { printf 'Got:\n%s\n' "$1"; false; }; }
log() { cat "$logs"/*.txt | tr -d '\r'; }
log_holds() { log | grep -qxF "$1" || { log; false; }; }

. ./program.sh
. ./devices.sh

wineserver -k
[ $failures -eq 0 ] || { echo "$failures checks failed."; exit 1; }
