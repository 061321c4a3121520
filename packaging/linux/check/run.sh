# Run in the virtual machine: the updater against the kernel's HID drivers, udev and logind. Prints a line for each
# check, the log of a run that failed behind "| ", and "checks: all hold" at the end where that is so.
cd /check || exit 1
. /check/checks.sh
export LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/check
program=zefo-vynt-firmware-update
rule=/usr/lib/udev/rules.d/70-$program.rules
mkdir -p /run/check

# bench NAME ARGUMENT...: the bench drives itself and judges; its log goes to NAME.log.
bench() {
    name=$1
    shift
    timeout 100 ./bench --drive --bus uhid --speed 4 "$@" >"$name.log" 2>&1 && return 0
    sed 's/^/| /' "$name.log"
    return 1
}

# told NAME TEXT: whether the log NAME.log has it.
told() { grep -qF -- "$2" "$1.log"; }

# equal NAME COUNT: whether the run ended so often in a device whose memory equals its image.
equal() { [ "$(grep -c 'verdict: .* bytes compared, equal, no error' "$1.log")" -eq "$2" ]; }

# The pair without an updater; its commands go to descriptor 3.
start_pair() {
    rm -f commands
    mkfifo commands
    ./pair <commands >pair.log 2>&1 &
    exec 3>commands
}
plug() { echo plug >&3 && within 20 nodes_are 4; }
unplug() { echo unplug >&3 && within 20 nodes_are 0; }
nodes_are() { [ "$(find /dev -maxdepth 1 -name 'hidraw*' | wc -l)" -eq "$1" ]; }

# start_program: the installed program, started by the user at the screen.
start_program() {
    rm -rf /home/user/run
    setpriv --reuid=user --regid=user --init-groups mkdir /home/user/run
    setpriv --reuid=user --regid=user --init-groups \
        env TMPDIR=/home/user/run XDG_RUNTIME_DIR=/home/user/run $program >/dev/null 2>&1 &
    updater=$!
}
end_program() {
    kill $updater
    wait $updater 2>/dev/null
}
program_told() { grep -qE -- "$1" /home/user/run/ZEFO_VYNT_Firmware_Update_Logs/*.txt 2>/dev/null; }
identified() { [ "$(grep -c "$1: identify from transfer" pair.log)" -eq "$2" ]; }
both_identified() { identified transmitter "$1" && identified headset "$1"; }
descriptors() { find /proc/$updater/fd -mindepth 1 | wc -l; }
descriptors_are() { [ "$(descriptors)" -eq "$1" ]; }
consumer_controls() { cat /sys/class/hidraw/*/device/report_descriptor | od -An -v -tx1 | tr -d ' \n' | grep -o '060c000a0100a1' | wc -l; }

check "the kernel has /dev/uhid ($(uname -r), after $(cut -d ' ' -f 1 /proc/uptime) s)" modprobe uhid
check "a user is at the screen" within 60 sh -c 'loginctl show-seat seat0 -p ActiveSession | grep -q =.'

# The installed program and its rule.
mv $rule /run/check
udevadm control --reload
start_pair
check "both devices are plugged into the kernel: four interfaces" plug
start_program
check "without the rule the log tells the user that the devices may not be opened" \
    within 60 program_told '^You may not open /dev/hidraw[0-9], which is HID.VID_7A31&PID_0004&MI_0[0-9]'
check "nothing reaches the devices then" both_identified 0
end_program
unplug
mv /run/check/$(basename $rule) $rule
udevadm control --reload
start_program
plug
check "with the package's rule both are opened and identified" within 60 both_identified 1
check "the two consumer-control interfaces among the four are passed over" [ "$(consumer_controls)" -eq 2 ]
unplug
sleep 2
before=$(descriptors)
events() {
    for _ in $(seq 50); do
        unplug && plug || return 1
    done
}
check "100 plug and unplug events are gone through" events
within 20 both_identified 2
unplug
check "no descriptor is left open after them" within 20 descriptors_are "$before"
check "the program goes on" kill -0 $updater
end_program
exec 3>&-

# Whole updates.
inhibited() { systemd-inhibit --list --no-pager --no-legend | grep bench | grep -q "$1"; }
bench generation-1 --generation 1 &
run=$!
check "while it updates the computer may not go to sleep" within 60 inhibited sleep:idle
check "while it updates the session may not end" within 5 inhibited shutdown
wait $run
check "generation 1: a whole update of both at once" [ $? -eq 0 ]
check "generation 1: bytes equal" equal generation-1 2
check "nothing is inhibited afterwards" sh -c '! systemd-inhibit --list --no-pager --no-legend | grep -q bench'
check "generation 2: a whole update of both at once" bench generation-2 --generation 2
check "generation 2: bytes equal" equal generation-2 2

# Faults, and what a user does then.
# Early in a long download: a loss that is heard of only after the last commit counts as a success.
check "the cable is pulled in an update" bench vanish --speed 2 --image-size 32768 --fault vanish@20 --fault-device headset
check "that was in the download" told vanish "vanished at transfer 20 (download)"
check "the failure report is shown" told vanish "screen: failure report"
check "plugged in again, the device is found in programming mode" told vanish "headset: connected, in programming mode"
check "it is repaired: bytes equal" equal vanish 3
check "a device that comes back on another port is updated" bench other-port --fault other-port
check "it did come back there" told other-port "fault: comes back on another port"
check "other port: bytes equal" equal other-port 4

[ $failures -eq 0 ] && echo "checks: all hold"
[ $failures -eq 0 ] || echo "checks: $failures do not hold"
