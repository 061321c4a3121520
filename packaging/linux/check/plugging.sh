# Devices that come and go, and sessions that change, under the running program.

descriptors() { find "/proc/$(process_of plugging)/fd" -mindepth 1 | wc -l; }
descriptors_are() { [ "$(descriptors)" -eq "$1" ]; }
consumer_controls() { cat /sys/class/hidraw/*/device/report_descriptor | od -An -v -tx1 | tr -d ' \n' | grep -o '060c000a0100a1' | wc -l; }
cycles() {
    for _ in $(seq "$1"); do
        unplug && plug || return 1
    done
}
count() { grep -c "$1: identify from transfer" pair.log; }
# remember: while both devices are unplugged; identified_again: whether both were identified since.
remember() {
    echo report-again >&3
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
check "25 times both devices are unplugged and plugged in" cycles 25
unplug
remember
plug
check "both devices are identified after them" within 60 identified_again
unplug
check "no descriptor is left open after them" within 30 descriptors_are "$before"

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

# A program whose socket takes a few events only.
socket_bytes() { echo "$1" | tee /proc/sys/net/core/rmem_default >/proc/sys/net/core/rmem_max; }
usual=$(cat /proc/sys/net/core/rmem_max)
socket_bytes 8192
start_program stopped
check "a program with a small socket is started" within 60 logged stopped 'Looking firmware file'
socket_bytes "$usual"
kill -STOP "$(process_of stopped)"
cycles 2
unplug
remember
plug
check "while it is stopped, the kernel drops events for it" within 60 events_were_lost
kill -CONT "$(process_of stopped)"
check "when it continues, it finds both devices" within 60 identified_again
end_program stopped
