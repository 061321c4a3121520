# Run in the virtual machine: the updater against the kernel's HID drivers, udev and logind. Prints a line for each
# check, lines of a failed run's log behind "| ", and "checks: all hold" at the end where that is so.
cd /check || exit 1
. /check/checks.sh
export LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/check
program=zefo-vynt-firmware-update
rule=/usr/lib/udev/rules.d/70-$program.rules
mkdir -p /run/check
echo "checks: booted after $(cut -d ' ' -f 1 /proc/uptime) s"

# bench NAME ARGUMENT...: the bench drives itself; its log goes to NAME.log.
bench() {
    name=$1
    shift
    timeout 100 ./bench --drive --bus uhid --speed 4 "$@" >"$name.log" 2>&1 && return 0
    sed 's/^/| /' "$name.log"
    return 1
}

# told NAME TEXT: whether the log NAME.log has it.
told() { grep -qF -- "$2" "$1.log"; }
both_equal() { [ "$(grep -c 'verdict: .* bytes compared, equal, no error' "$1.log")" -eq "$2" ]; }

# The pair without the updater, for the installed program; commands go to descriptor 3.
start_pair() {
    rm -f commands
    mkfifo commands
    ./pair <commands >pair.log 2>&1 &
    pair=$!
    exec 3>commands
}
end_pair() {
    exec 3>&-
    wait $pair
}

# The installed program, started by the user at the screen.
start_program() {
    rm -rf /home/user/run
    runuser -u user -- mkdir /home/user/run
    runuser -u user -- env TMPDIR=/home/user/run XDG_RUNTIME_DIR=/home/user/run $program >program.out 2>&1 &
    within 60 pgrep -u user -f $program >/dev/null
    updater=$(pgrep -u user -f "^$program")
}
program_log() { cat /home/user/run/ZEFO_VYNT_Firmware_Update_Logs/*.txt; }
program_told() { program_log | grep -qE -- "$1"; }
end_program() { kill "$updater"; }
descriptors() { ls "/proc/$updater/fd" | wc -l; }
hidraw_nodes() { ls /dev/hidraw* 2>/dev/null | wc -l; }
nodes_are() { [ "$(hidraw_nodes)" -eq "$1" ]; }
identified() { told pair "transmitter: identify" && told pair "headset: identify"; }

check "the kernel has /dev/uhid" modprobe uhid
check "a user is at the screen" within 60 sh -c 'loginctl show-seat seat0 -p ActiveSession | grep -q =.'

# Whole updates.
bench generation-1 --generation 1 &
run=$!
inhibited() { systemd-inhibit --list --no-pager --no-legend | grep bench | grep -q "$1"; }
check "while it updates the computer may not go to sleep" within 90 inhibited sleep:idle
check "while it updates the session may not end" inhibited shutdown
wait $run
check "generation 1: both are identified and updated, bytes equal" both_equal generation-1 2
check "generation 1: the bench agrees" test $? -eq 0
bench generation-2 --generation 2
check "generation 2: both are identified and updated, bytes equal" both_equal generation-2 2

# Faults.
check "the cable is pulled in the download, and the device repaired" bench vanish --fault vanish@40 --fault-device transmitter
check "the failure is reported" told vanish "screen: failure report"
check "the device is found in programming mode" told vanish "transmitter: connected, in programming mode"
check "the repair leaves equal bytes" both_equal vanish 3
check "a device that comes back on another port is updated" bench other-port --fault other-port
check "its bytes are equal" both_equal other-port 2

exit 0
