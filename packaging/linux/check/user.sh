# Installs the package, and then updates both devices by keyboard as a user does. run.sh sources this file.

key() { as_user "xdotool key --clearmodifiers $1"; }
window() { xdotool search --onlyvisible --name "$1" 2>/dev/null | grep -q .; }
no_window() { ! window "$1"; }
picture() { import -window root "pictures/$1.png"; }

# press CONDITION...: presses the window's buttons, one after the other, until the command CONDITION... succeeds.
press() {
    for _ in 1 2 3 4 5 6; do
        sleep 2 # a new screen ignores keys that arrive too early
        key space
        within 20 "$@" && return 0
        if window Open; then
            key Escape
            within 20 no_window Open # an open file dialog would receive the next key
        fi
        key Tab
    done
    return 1
}

choose_archive() {
    press window Open || return 1
    sleep 2
    as_user "xdotool type --delay 50 /home/user/firmware.zip; xdotool key Return"
    within 60 logged first 'Firmware successfully loaded'
}
is_updating() { logged "$1" 'Phase prepare'; }
both_are_programmed() { [ "$(grep -c ': configure from transfer' pair.log)" -eq 2 ]; }
inhibited() { systemd-inhibit --list --no-pager --no-legend | grep zefo-vynt-firmw | grep -q "$1"; }
inhibits_nothing() { ! inhibited .; }
is_unfinished() { ! logged "$1" 'Update finished'; }
succeeded() { [ "$(grep -c 'Update finished, device type' "/home/user/$1"/ZEFO_VYNT_Firmware_Update_Logs/*.txt)" -eq 2 ]; }
equal_memories_are() { [ "$(grep -c 'bytes compared, equal' pair.log)" -eq "$1" ]; }
memories_are_equal() { echo verdict >&3 && within 20 equal_memories_are 2; }
suspended() { [ -s /run/check/suspended ]; }
suspended_after_both() { [ "$(sort -n /run/check/suspended | head -n 1)" = 2 ]; }
# upgrade: installs the same package with a higher version number, as if it were the next release.
upgrade() {
    dpkg-deb --raw-extract /check/*.deb next &&
        sed -i 's/^Version: .*/&+1/' next/DEBIAN/control &&
        dpkg-deb --build -Znone next next.deb >/dev/null &&
        dpkg --install --force-unsafe-io next.deb >>install.log &&
        dpkg-query -W -f '${Version}' $program | grep -q '+1$' && runs first
}

check "both devices, with four interfaces, are plugged in before the package is installed" plug
check "the user may not open the devices" user_may_not_open
install() { dpkg --install --force-unsafe-io /check/*.deb >install.log; }
check "the package is installed" install
check "now the user may open the devices without plugging them in again" within 30 user_may_open

# Another program, sleep, holds the devices before the updater starts.
for node in $(nodes); do
    flock --exclusive --no-fork "$node" sleep infinity &
    holders="$holders $!"
done
start_program first
check "while another program holds the devices, the log names it" \
    within 120 logged first '^/dev/hidraw[0-9]+, which is .*VID_7A31.*, is in use by sleep \(process [0-9]+\)'
kill $holders
check "once that program has ended, both devices are identified" within 60 both_identified 1

check "the user chooses the firmware archive by keyboard" choose_archive
picture main-page
check "the user starts the update by keyboard" press is_updating first
note "the update has started"
start_program second
check "the user may open the devices in programming mode" within 120 user_may_open
check "both devices are being programmed" within 120 both_are_programmed
echo close >&3
for what in sleep:idle shutdown handle-lid-switch; do
    check "during the update $what is inhibited" inhibited $what
done
check "a second program logs that the first holds the devices" \
    within 120 logged second "is in use by zefo-vynt-firmw \(process $(process_of first)\)"
check "the package is upgraded under the running program" upgrade
end_program second
check "the update has not ended yet" is_unfinished first
picture updating
check "with the lid closed the update succeeds" within 900 succeeded first
note "the update has ended"
picture updated
check "both memories are equal to their images" memories_are_equal
check "nothing is inhibited any more" within 30 inhibits_nothing
check "then the closed lid suspends the computer" within 60 suspended
check "the closed lid did not suspend the computer while a device was updated" suspended_after_both
echo open >&3
check "the user closes the report and the instructions by keyboard" press ended first
