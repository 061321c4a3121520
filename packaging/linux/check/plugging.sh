# Plugs devices in and out and switches sessions while the program runs. run.sh sources this file.

descriptors() { find "/proc/$(process_of plugging)/fd" -mindepth 1 | wc -l; }
descriptors_are() { [ "$(descriptors)" -eq "$1" ]; }
consumer_controls() { cat /sys/class/hidraw/*/device/report_descriptor | od -An -v -tx1 | tr -d ' \n' | grep -o '060c000a0100a1' | wc -l; }
cycles() {
    for _ in $(seq "$1"); do
        unplug && plug || return 1
    done
}
count() { grep -c "$1: identify from transfer" pair.log; }
# remember: stores how often each device has been identified so far. Call remember while both devices are unplugged.
# identified_again: whether both devices have been identified since the last call of remember.
remember() {
    echo count >&3
    known_transmitter=$(count transmitter)
    known_headset=$(count headset)
}
identified_again() { [ "$(count transmitter)" -gt "$known_transmitter" ] && [ "$(count headset)" -gt "$known_headset" ]; }
events_were_lost() { awk '$2 == 15 && $9 > 0 { lost = 1 } END { exit !lost }' /proc/net/netlink; }

unplug
remember
plug
start_program plugging
check "both devices are identified" within 60 identified_again
check "the two consumer-control interfaces among the four are ignored" [ "$(consumer_controls)" -eq 2 ]
unplug
sleep 2
before=$(descriptors)
check "both devices are unplugged and plugged in 25 times" cycles 25
unplug
remember
plug
check "after plugging 25 times both devices are identified" within 60 identified_again
unplug
check "after plugging 25 times the program has as many open file descriptors as before" within 30 descriptors_are "$before"

/check/busybox chvt 2
remember
plug
check "in the background session the devices may not be opened, and the log says so" \
    within 60 logged plugging '^You may not open /dev/hidraw[0-9]+, which is HID.VID_7A31&PID_000[46]&MI_0[0-9]'
/check/busybox chvt 1
check "when the session is active again, both devices are identified" within 60 identified_again
check "the program still runs" runs plugging
end_program plugging
unplug

# Starts the program with a small socket buffer. When this buffer is full, the kernel drops further events.
socket_bytes() { echo "$1" | tee /proc/sys/net/core/rmem_default >/proc/sys/net/core/rmem_max; }
usual=$(cat /proc/sys/net/core/rmem_max)
socket_bytes 8192
start_program stopped
check "a program with a small socket buffer starts" within 60 logged stopped 'Looking firmware file'
socket_bytes "$usual"
kill -STOP "$(process_of stopped)"
cycles 2
unplug
remember
plug
check "while the program is stopped, the kernel drops events for it" within 60 events_were_lost
kill -CONT "$(process_of stopped)"
check "when the program continues, it finds both devices" within 60 identified_again
end_program stopped
