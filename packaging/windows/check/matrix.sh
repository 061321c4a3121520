# Updates devices with eight faults, one after the other: every fault of the bench that the simulated bus can produce.
# Each update must end as the bench expects, and the next update must repair the device. The variable "seed" decides
# which device, chip and transfer each fault gets. run.sh sources this file.

# fault_rows SEED: prints eight lines, each with a fault, a device, a chip, a revision and a transfer. Each device gets
# four of the faults; each revision of each chip gets two.
fault_rows() {
    awk -v seed="$1" 'BEGIN {
        srand(seed)
        # The number after a fault is the highest transfer that may be drawn for the fault. Faults with the number 5
        # strike only while the chip is identified. Faults with the number 2 strike only at a restart. The device
        # restarts after transfer 1 and after the update, so transfer 1 selects the first restart, and transfer 2
        # selects the second restart.
        count = split("vanish:50 power-lost:50 no-data:5 transfer-fails:50 short-answer:5 wrong-identity:5 " \
            "never-back:2 other-port:2", rows, /[: ]/) / 2
        turn = int(rand() * 4)
        for (i = 0; i < count; ++i)
            print rows[2 * i + 1], (i + turn) % 2 ? "transmitter" : "headset", int(i / 2 + turn) % 2 ? 12 : 13,
                int(i / 4 + turn) % 2 ? 2 : 3, 1 + int(rand() * rows[2 * i + 2])
    }'
}

results() { log | sed -n 's/^Update \(.*\), device type = \(.*\)$/\2: \1/p' | sort; }

# is_updating: whether the update has started. If the program asks about an unknown firmware, first answers this
# question.
is_updating() {
    ! tool shown Warning || tool keys Warning enter
    tool shown "Updating..."
}

# run_update [COMMAND...]: plugs both devices in, starts the program, sends the command to pair.exe, and runs an update
# to its end.
run_update() {
    devices plug
    start_program devices "$updater"
    shows transmitterVersion: headsetVersion:
    [ $# -eq 0 ] || devices "$@"
    still
    tool keys "$title" tab tab space
    logged=0
    within 120 is_updating && await_log "Update .*, device type = 1" && await_log "Update .*, device type = 2"
}

as_expected() {
    before=$(wc -l <events.txt)
    devices expectation
    tail -n "+$((before + 1))" events.txt | tr -d '\r' | sed -n 's/^\[[ 0-9.]*\] expected: //p' | sort >expected.txt
    [ "$(wc -l <expected.txt)" -eq 2 ] && [ "$(results | grep -cxEf expected.txt)" -eq 2 ] ||
        { log; cat events.txt; false; }
}

# fault_row FAULT DEVICE CHIP REVISION TRANSFER: runs an update with the fault, and then an update without a fault.
# Succeeds if the first update ends as expected and the second update repairs the device.
fault_row() {
    start_pair 1 "$3" "$4" 8192
    run_update fault "$2" "$1" "$5" && as_expected
    ended=$?
    outcome=$(results | tr '\n' ' ')
    close_dialog
    end_program
    devices count "$2"
    run_update && text_is "$(results)" "$(printf '1: finished\n2: finished')" && memories_are_equal
    repaired=$?
    close_dialog
    end_program
    end_pair
    echo "| $*: $outcome"
    [ $ended -eq 0 ] && [ $repaired -eq 0 ]
}

# shellcheck disable=SC2154
echo "| Faults drawn by seed $seed"
fault_rows "$seed" >rows.txt
while read -r fault device chip revision transfer <&8; do
    row="$fault, $device, chip $chip, revision $revision, from transfer $transfer on"
    check "$row: the update ends as expected, and the next update repairs the device" \
        fault_row "$fault" "$device" "$chip" "$revision" "$transfer"
done 8<rows.txt
