# Checks the Windows program. check.sh runs this script inside the Debian that has Wine. Every check prints a line; the
# last line is "checks: all hold" or the number of failed checks. The variable "emulated" is set in a virtual machine;
# the variable "seed" is the seed of the random choices in matrix.sh.
cd /check || exit 1
. ./checks.sh
. ./wine.sh

export WINEPREFIX=/check/prefix
title="ZEFO VYNT Firmware Update"
updater=zefo-vynt-firmware-update.exe

# Configures a sound card that discards all sound, so that Wine has audio endpoints.
printf 'pcm.!default { type null }\nctl.!default { type null }\n' >"$HOME/.asoundrc"
Xvfb $DISPLAY -screen 0 800x600x24 -nolisten tcp 2>/dev/null &
until [ -S /tmp/.X11-unix/X7 ]; do sleep 0.1; done
# When the last program ends, Wine stops its devices and services. A program that starts at that moment does not find
# all of Wine's devices and services, so one program runs all the time.
sleep infinity | wine cmd >/dev/null 2>&1 &
wine --version
uname -sr | sed 's/^/Linux: /'
# The updater's Qt loads this DLL only from the system's folder.
mv uiautomationcore.dll "$WINEPREFIX/drive_c/windows/system32"
windows_temporary=$(wine cmd /c 'echo %TEMP%' | tr -d '\r')
temporary=$(winepath -u "$windows_temporary")
logs=$temporary/ZEFO_VYNT_Firmware_Update_Logs

tool() { wine windowtool.exe "$@"; }
# Wine starts its desktop when a program creates the first window. A program that waits too long for the desktop cannot
# create its windows. So this script starts the desktop first and waits for it.
within 600 tool desktop
window_text() {
    rm -f "$temporary/window-text.txt"
    tool text "$title" && cat "$temporary/window-text.txt" 2>/dev/null
}
# choose_system_item KEY...: chooses an item of the window's system menu by keyboard. The first KEY opens the menu with
# the first item selected. From this item, the KEY "up" leads to the last item.
choose_system_item() {
    tool command "$title" 0xF100
    tool keys "$title" "$@" enter
}

# shows TEXT...: waits until the window shows all these texts. Fails after 240 attempts, which take at
# least two minutes.
shows() {
    for _ in $(seq 240); do
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

# picture NAME: saves a picture of the screen as soon as the screen no longer changes.
picture() {
    for _ in $(seq 50); do
        import -window root "pictures/$1.png"
        sleep 0.3
        import -window root "pictures/again.png"
        ! cmp -s "pictures/$1.png" pictures/again.png || break
    done
    rm pictures/again.png
}

# still: waits until the screen no longer changes.
still() {
    picture still
    rm pictures/still.png
}

picture_differs() { ! cmp -s "pictures/$1.png" "pictures/$2.png"; }
# Ignores invisible differences: each time Qt draws a focused button, the colours of its corners vary by 1 of 255.
pictures_are_equal() { [ "$(compare -metric AE -fuzz 1% "pictures/$1.png" "pictures/$2.png" null: 2>&1)" = 0 ]; }
text_is() { [ "$1" = "$2" ] || { printf 'Got:\n%s\n' "$1"; false; }; }
log() { cat "$logs"/*.txt | tr -d '\r'; }
log_holds() { log | grep -qxF "$1" || { log; false; }; }

. ./program.sh
. ./devices.sh
. ./matrix.sh

wineserver -k
[ $failures -eq 0 ] && echo "checks: all hold" || echo "checks: $failures failed"
