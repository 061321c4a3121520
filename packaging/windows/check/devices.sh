# The program and a transmitter and a headset: simulated devices on a bus of ours, everything between them and the program
# is Wine's, but for one answer: in the copies of the program that are run here the name of SETUPAPI.dll is exchanged for
# that of a DLL which knows enumerators' names. Sourced by run.sh.

# What the devices come with, as pair.exe has it.
installed=1.0.0.20240131.1207

# start_pair GENERATION CHIP REVISION BYTES: new devices, unplugged, and their archive.
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

# await TEXT [FROM]: until the devices have told it after their FROM-th line; at most two minutes.
await() {
    for _ in $(seq 1200); do
        ! tail -n "+$((${2:-0} + 1))" events.txt | grep -qF "$1" || return 0
        sleep 0.1
    done
    echo "The devices do not tell \"$1\"."
    false
}

# tell COMMAND...: to the devices, which have done it then.
tell() {
    told=$(wc -l <events.txt)
    echo "$*" >&9
    await "done: $*" "$told"
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

# await_log LINE: until the log tells it after its first $logged lines; at most four minutes.
await_log() {
    for _ in $(seq 2400); do
        ! log 2>/dev/null | tail -n "+$((logged + 1))" | grep -qxF "$1" || return 0
        sleep 0.1
    done
    echo "The log does not tell \"$1\"."
    false
}

# update RESULT RESULT: from the main page, by keyboard: the first button opens the file dialog, the next stop is the
# release notes, the third is Update. The results are the log's for the transmitter and the headset.
update() {
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
    tell verdict
    tail -n "+$((before + 1))" events.txt >verdicts.txt
    [ "$(grep -c 'bytes compared, equal' verdicts.txt)" = 2 ] && ! grep -q refused verdicts.txt ||
        { cat verdicts.txt; false; }
}

# takes_its_time DEVICE DELAYS PERCENT: whether from the first register written to the end of programming it took the sum
# of the protocol's delays, in milliseconds, and at most so much more.
takes_its_time() {
    took=$(sed -n "s/^\[ *\([0-9]*\)\.\([0-9]*\)\] $1: \(configure\|final wait\) from .*/\1\2/p" events.txt |
        sed 's/^0*//' | { read -r first && read -r last && echo $((last - first)); })
    echo "        $1: $took ms, the delays' sum is $2 ms"
    [ "$took" -ge "$2" ] && [ $((took * 100)) -le $(($2 * (100 + $3))) ]
}

service_was_restarted() {
    log | grep -qxF "Service stopped successfully" && log | grep -qxF "Service started successfully."
}

wine installbus.exe simbus.inf
check "the simulated bus is installed" [ $? -eq 0 ]

start_pair 1 12 2 65536
start_program devices $updater
tell plug transmitter
tell plug headset
check "both devices are identified, with their versions" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed" "transmitterFirmwareVersion: 1.2.3" \
    "headsetFirmwareVersion: 1.2.3"
picture both-devices
tell unplug headset
check "without one of them the start screen is back" shows "No device detected."
picture one-device-unplugged
tell plug headset
check "plugged in again, it is identified" shows "headsetVersion: $installed"

check "both devices are updated at once" update finished finished
picture update-finished
check "the audio service was stopped and started" service_was_restarted
check "both were sent to programming mode" [ "$(grep -c 'connected, in programming mode' events.txt)" = 2 ]
check "both memories are equal to their images" memories_are_equal
close_dialog
check "the pairing instructions are shown" shows "Success! Please pair devices."
picture pairing-instructions
# 64 KiB: 256 packets, 16 commits, 16 sectors.
check "the transmitter's update takes the protocol's time" takes_its_time transmitter \
    $((256 * 20 + 16 * 50 + 16 * 4000 + 2000)) 2
# It has the same number of transfers in a third of the time, and all of them while the other device has its own.
check "the headset's update takes the protocol's time" takes_its_time headset $((256 * 20 + 16 * 1000 + 2000)) 6
end_program
end_pair

start_pair 2 13 3 8192
tell plug transmitter
tell plug headset
rm -f "$temporary/uninstalled.txt"
start_program devices-package package.exe
check "the package's program identifies the second generation" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed" "transmitterFirmwareVersion: 1.2.3"
check "the package's program updates both, chip 13, revision 3" update finished finished
check "the driver-uninstall tool that the package carries was started for both" \
    text_is "$(sort "$temporary/uninstalled.txt" | tr -d '\r')" "31281 3 
31281 6 "
check "both memories are equal to their images" memories_are_equal
close_dialog
check "the package's program shows the pairing instructions" shows "Success! Please pair devices."
picture second-generation
end_program
end_pair

start_pair 1 12 3 8192
tell plug transmitter
tell plug headset
start_program devices $updater
shows "transmitterVersion: $installed" "headsetVersion: $installed"
tell fault headset vanish 20
check "a cable pulled in the download fails that device only" update finished "failed with code 1"
check "it was pulled in the download" await "vanished at transfer 20 (download)"
picture update-failed
close_dialog
check "the failure report tells of the lost connection" shows "Update was unsuccessful." \
    "One or both of your devices have been disconnected."
picture failure-report
tool keys "$title" tab space
check "Back leads to the start screen, since a device is missing" shows "No device detected."
tell plug headset
check "plugged in again, in programming mode, it is identified" shows "headsetVersion: $installed"
check "the second update repairs it" update finished finished
check "both memories are equal to their images" memories_are_equal
close_dialog
check "the pairing instructions are shown" shows "Success! Please pair devices."
end_program
end_pair

start_pair 1 13 2 8192
tell plug transmitter
tell plug headset
start_program devices $updater
shows "transmitterVersion: $installed" "headsetVersion: $installed"
tell fault headset vanish 2
check "a cable pulled while the chip is asked who it is fails that device only" update finished "failed with code 3"
close_dialog
end_program
tell plug headset
start_program devices $updater
check "a device in programming mode at the start is identified out of its memory" \
    shows "transmitterVersion: 1.2.3" "headsetVersion: $installed"
picture programming-mode
check "and repaired" update finished finished
check "both memories are equal to their images" memories_are_equal
close_dialog
end_program
end_pair

# Threads of the pool end half a minute after their last work.
possessions_are() {
    for _ in $(seq 60); do
        possessions=$(tool possessions "$title" | tr -d '\r')
        [ "$possessions" != "$1" ] || return 0
        sleep 1
    done
    echo "        $1, then $possessions"
    false
}
start_pair 1 12 2 8192
start_program devices $updater
tell storm 10
shows "transmitterVersion: $installed" "headsetVersion: $installed"
sleep 40
before=$(tool possessions "$title" | tr -d '\r')
picture before-the-storm
tell storm 100
check "after 100 times plugging and unplugging both devices are identified" \
    shows "transmitterVersion: $installed" "headsetVersion: $installed"
check "and nothing is left over: $before" possessions_are "$before"
picture after-the-storm
check "and the window looks as it did" pictures_are_equal before-the-storm after-the-storm
end_program
end_pair
