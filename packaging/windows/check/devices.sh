# Checks the program with a simulated transmitter and a simulated headset on the simulated bus. Everything between the
# bus and the program is part of Wine, with one exception: the program loads a stand-in for SETUPAPI.dll, because Wine's
# own DLL does not know the names of enumerators. run.sh sources this file.

# The devices of pair.exe have this version before an update.
installed=1.0.0.20240131.1207

# start_pair GENERATION CHIP REVISION BYTES: starts pair.exe with new, unplugged devices and makes an archive for them.
start_pair() {
    rm -f commands
    mkfifo commands
    : >events.txt
    wine pair.exe "$@" <commands >events.txt 2>pair.txt &
    pair=$!
    exec 9>commands
    await "done: start"
    echo "Made for a check." >notes.txt
    for folder in devices devices-package; do
        rm -f $folder/fw.1.2.zip
        zip -q $folder/fw.1.2.zip transmitter.ff headset.ef notes.txt
    done
}

end_pair() {
    echo end >&9
    exec 9>&-
    wait $pair
}

# await TEXT [FROM]: waits until pair.exe has printed the text, ignoring its first FROM lines. Fails after
# about five minutes.
await() {
    for _ in $(seq 3000); do
        ! tail -n "+$((${2:-0} + 1))" events.txt | grep -qF "$1" || return 0
        sleep 0.1
    done
    echo "pair.exe does not print \"$1\"."
    false
}

# devices COMMAND...: sends the command to pair.exe and waits until pair.exe has executed it.
devices() {
    printed=$(wc -l <events.txt)
    echo "$*" >&9
    await "done: $*" "$printed"
}

start_program() {
    rm -rf "$logs"
    (cd "$1" && exec wine "$2") &
    program=$!
    tool wait "$title"
}

end_program() {
    tool close "$title"
    tool gone "$title" || kill -9 $program
    wait $program
}

# await_log PATTERN: waits until a whole line of the log matches the pattern, ignoring the first $logged lines. Fails
# after about ten minutes. Looks every three seconds only, because new processes are slow in a virtual machine.
await_log() {
    for _ in $(seq 200); do
        ! log 2>/dev/null | tail -n "+$((logged + 1))" | grep -qx "$1" || return 0
        sleep 3
    done
    echo "The log does not contain \"$1\"."
    log
    cat events.txt
    false
}

# update TRANSMITTER_RESULT HEADSET_RESULT: starts an update from the main page by keyboard and waits until the log has
# both results. The tab order is: the button that opens the file dialog, the release notes, Update. First waits until
# the screen no longer changes, because a window that gets the focus while a key is pressed ignores the key.
update() {
    still
    logged=$(log | wc -l)
    tool keys "$title" tab tab space
    tool wait "Updating..." && await_log "Update $1, device type = 1" && await_log "Update $2, device type = 2"
}

close_dialog() {
    tool keys "Updating..." enter
    tool gone "Updating..."
}

memories_are_equal() {
    before=$(wc -l <events.txt)
    devices verdict
    tail -n "+$((before + 1))" events.txt >verdicts.txt
    [ "$(grep -c 'bytes compared, equal' verdicts.txt)" = 2 ] || { cat verdicts.txt; false; }
}

updates_are_clean() { memories_are_equal && ! grep refused verdicts.txt; }

# duration DEVICE: prints the milliseconds from the first write of a register to the end of programming.
duration() {
    sed -n "s/^\[ *\([0-9]*\)\.\([0-9]*\)\] $1: \(configure\|final wait\) from .*/\1\2/p" events.txt |
        sed 's/^0*//' | { read -r first && read -r last && echo $((last - first)); }
}

# The sums of the protocol's delays for 64 KiB: 256 packets, 16 commits, 16 sectors (transmitter only), the final wait.
transmitter_ms=$((256 * 20 + 16 * 50 + 16 * 4000 + 2000))
headset_ms=$((256 * 20 + 16 * 1000 + 2000))
# An update may exceed the sum of its delays by these percentages. The percentages are higher in a virtual machine,
# because the load of the host adds to the time. Transfers add about the same time to both updates, but the sum of the
# headset's delays is only a third of the transmitter's sum. So the headset's percentage is higher.
if [ -n "$emulated" ]; then
    transmitter_percent=10 headset_percent=20
else
    transmitter_percent=2 headset_percent=6
fi

# is_within DEVICE DELAYS PERCENT: whether the device's update took at most PERCENT % longer than DELAYS milliseconds.
is_within() {
    ms=$(duration "$1")
    echo "| $1: $ms ms, the delays' sum is $2 ms, ratio $((ms * 1000 / $2)) of 1000"
    [ $((ms * 100)) -le $(($2 * (100 + $3))) ]
}

both_are_within_bounds() {
    is_within transmitter $transmitter_ms $transmitter_percent && is_within headset $headset_ms $headset_percent
}

# In a virtual machine the first update may take too long because the host is busy. Then a second update must
# be within bounds.
both_are_within_bounds_at_last() {
    both_are_within_bounds || { [ -n "$emulated" ] && update_new_devices && both_are_within_bounds; }
}

no_update_is_faster_than_its_delays() {
    [ "$(duration transmitter)" -ge $transmitter_ms ] && [ "$(duration headset)" -ge $headset_ms ]
}

# events DEVICE: prints the events of the device since the first command "count", without times.
events() {
    sed -n "/done: count/,\$ s/^\[[ 0-9.]*\] $1: //p" events.txt | tr -d '\r' | grep -v " bytes"
}

# log_of NAME: prints the lines of the log that start with NAME. NAME is a device's name in the log.
log_of() { log | grep "^$1: "; }

# commits NAME: prints the lines that the log must have for a download of 64 KiB to the device NAME.
commits() {
    for sector in 0 1 2 3 4 5 6 7 8 9 A B C D E F; do
        printf '%s\n' "$1: Downloading DATA to RAM" "$1: Resetting structure parameters" \
            "$1: Committing RAM starting at 0x${sector}000"
    done
}

erasures() {
    for sector in 0 1 2 3 4 5 6 7 8 9 A B C D E F; do
        echo "$1: Erasing Flash starting at 0x${sector}000"
    done
}

# transmitter_log: prints the lines that the log must have for the transmitter, from the first erased sector on.
# headset_log: prints the lines that the log must have for the headset, from the start of programming on.
transmitter_log() {
    erasures Transmitter
    echo "Transmitter: Start programming at address 0x0000"
    commits Transmitter
    echo "Transmitter: Final wait"
}

headset_log() {
    echo "Headset: Start programming at address 0x0000"
    commits Headset
    echo "Headset: Final wait"
}

audio_service_lines() { log | grep '^Service\|^Phase'; }
audio_service_runs() { wine sc query audiosrv | grep -q 'STATE.* 4 '; }

wine installbus.exe simbus.inf
check "the simulated bus is installed" [ $? -eq 0 ]

# Wine has no audio service, so Wine's print spooler runs under the name of the audio service.
wine sc create audiosrv binPath= 'C:\windows\system32\spoolsv.exe' >/dev/null
wine net start audiosrv >/dev/null
check "a service with the name of the audio service runs" audio_service_runs

start_pair 1 12 2 65536
start_program devices $updater
devices plug
check "both devices are identified, with their versions" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed" "transmitterFirmwareVersion: 1.2.3" \
    "headsetFirmwareVersion: 1.2.3"
picture both-devices
devices unplug headset
check "without the headset the start screen is back" shows "No device detected."
picture one-device-unplugged
devices plug headset
check "plugged in again, the headset is identified" shows "headsetVersion: $installed"
end_program
end_pair

# update_new_devices: updates new devices of generation 1 with 64 KiB each. The program and pair.exe keep running
# afterwards.
update_new_devices() {
    [ ! -e running ] || { close_dialog; end_program; end_pair; }
    touch running
    start_pair 1 12 2 65536
    devices plug
    start_program devices $updater
    shows "transmitterVersion: $installed" "headsetVersion: $installed"
    devices count
    update finished finished
}

check "both devices are updated at the same time" update_new_devices
picture update-finished
check "both memories are equal to their images, and no chip refused a command" updates_are_clean
check "the transmitter goes through its phases and restarts in order" text_is "$(events transmitter)" "leave from transfer 1
disconnected
connected, in programming mode
identify from transfer 2
configure from transfer 6
erase from transfer 13
download from transfer 59
commit from transfer 79
final wait from transfer 395
disconnected
connected"
check "the headset goes through its phases and restarts in order" text_is "$(events headset)" "leave from transfer 1
disconnected
connected, in programming mode
identify from transfer 2
configure from transfer 6
download from transfer 11
commit from transfer 31
final wait from transfer 347
disconnected
connected"
check "the log has each step of the transmitter in order" \
    text_is "$(log_of Transmitter | sed -n '/Erasing/,$ p')" "$(transmitter_log)"
check "the log has each step of the headset in order" \
    text_is "$(log_of Headset | sed -n '/at address/,$ p')" "$(headset_log)"
check "the log says that the audio service is stopped and started" text_is "$(audio_service_lines)" \
    "Phase prepare, number of devices = 2
Service stopped successfully
Service start pending...
Service started successfully.
Phase restore"
check "the audio service runs after the update" audio_service_runs
check "no update takes less than the protocol's delays" no_update_is_faster_than_its_delays
check "both updates take little more than the protocol's delays" both_are_within_bounds_at_last
close_dialog
check "the pairing instructions are shown" shows "Success! Please pair devices."
picture pairing-instructions
end_program
end_pair

start_pair 2 13 3 8192
devices plug
rm -f "$temporary/uninstalled.txt"
WINEDEBUG=+ole
start_program devices-package package.exe 2>ole.txt
WINEDEBUG=-all
check "the package's program identifies the second generation" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed" "transmitterFirmwareVersion: 1.2.3"
tool_folder=$(winepath -w "$(dirname "$(find "$temporary" -path '*{*' -name 'UninstallDevices*')")")
check "the package's program updates both devices with chip 13, revision 3" update finished finished
check "the package's driver-uninstall tool is started for both devices, in its own folder" \
    text_is "$(sort "$temporary/uninstalled.txt" | tr -d '\r')" "31281 3 $tool_folder
31281 6 $tool_folder"
# The program recognises an endpoint by its adapter's name. Wine's adapters have no names, so no endpoint is restored.
check "the program reads the default audio endpoints for playback and recording, before and after the update" \
    [ "$(grep -c 'CoCreateInstance {bcde0395-e52f-467c-8e3d-c4579291692e}' ole.txt)" -eq 4 ]
check "both memories are equal to their images, and no chip refused a command" updates_are_clean
close_dialog
check "the package's program shows the pairing instructions" shows "Success! Please pair devices."
picture second-generation
end_program
end_pair

start_pair 1 12 3 8192
devices plug
start_program devices $updater
shows "transmitterVersion: $installed" "headsetVersion: $installed"
devices fault headset vanish 20
check "if the headset's cable is pulled during the download, only the headset's update fails" \
    update finished "failed with code 1"
check "the cable is pulled in the download" await "vanished at transfer 20 (download)"
picture update-failed
close_dialog
check "the failure report shows the lost connection" shows "Update was unsuccessful." \
    "One or both of your devices have been disconnected."
picture failure-report
tool keys "$title" tab space
check "Back leads to the start screen, since a device is missing" shows "No device detected."
devices plug headset
check "plugged in again in programming mode, the headset is identified" shows "headsetVersion: $installed"
check "the second update repairs the headset" update finished finished
check "both memories are equal to their images, and no chip refused a command" updates_are_clean
close_dialog
check "the pairing instructions are shown" shows "Success! Please pair devices."
end_program
end_pair

start_pair 1 13 2 8192
devices plug
start_program devices $updater
shows "transmitterVersion: $installed" "headsetVersion: $installed"
devices fault headset vanish 2
check "if the headset's cable is pulled during identification, only the headset's update fails" \
    update finished "failed with code 3"
close_dialog
end_program
devices plug headset
start_program devices $updater
check "a device in programming mode is identified from its memory when the program starts" \
    shows "transmitterVersion: 1.2.3" "headsetVersion: $installed"
picture programming-mode
check "the update repairs the headset" update finished finished
check "both memories are equal to their images, and no chip refused a command" updates_are_clean
close_dialog
end_program
end_pair

counts() { tool counts "$title" | tr -d '\r'; }
# counts_are_at_most HANDLES THREADS: whether the program has at most HANDLES handles and THREADS threads.
counts_are_at_most() {
    # shellcheck disable=SC2046
    set -- "$@" $(counts)
    [ "$3" -le "$1" ] && [ "$4" -le "$2" ]
}
start_pair 1 12 2 8192
start_program devices $updater
devices storm 10
shows "transmitterVersion: $installed" "headsetVersion: $installed"
sleep 40
counts_before=$(counts)
echo "| handles and threads before: $counts_before"
picture before-the-storm
devices storm 100
check "after plugging and unplugging 100 times both devices are identified" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed"
# A thread of Qt's pool ends half a minute after its last work, so the check waits.
# shellcheck disable=SC2086
check "after plugging and unplugging 100 times the program has no more handles and threads than before" \
    within 90 counts_are_at_most $counts_before
echo "| handles and threads after: $(counts)"
picture after-the-storm
check "after plugging and unplugging 100 times the window looks as before" \
    pictures_are_equal before-the-storm after-the-storm
end_program
end_pair
