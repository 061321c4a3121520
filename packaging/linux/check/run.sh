# Checks the updater with the kernel's HID drivers, udev and logind. check.service runs this script in the virtual
# machine. Prints a line for each check. Lines that start with "| " give details, such as the log of a failed run of the
# bench. The last line is "checks: all hold" or the number of checks that do not hold.
cd /check || exit 1
. /check/checks.sh
export LC_ALL=C.UTF-8 DISPLAY=:7 DEBIAN_FRONTEND=noninteractive
program=zefo-vynt-firmware-update
mkdir -m 700 /run/check # Qt wants a runtime directory that only its owner can read
mkdir -p pictures

seconds() { cut -d ' ' -f 1 /proc/uptime; }
# note TEXT...: prints the seconds since the machine started, and the text. Checks nothing.
note() { echo "| $(seconds) s: $*"; }

# as_user COMMAND: runs the command in the background, in the session of the user at the screen.
as_user() { echo "$1" >/run/user/1000/commands; }

# start_pair: starts the program that simulates both devices. Commands for this program are written to descriptor 3.
start_pair() {
    mkfifo commands
    ./pair /home/user/firmware.zip <commands >pair.log 2>&1 &
    exec 3>commands
}
plug() { echo plug >&3 && within 60 nodes_are 4; }
unplug() { echo unplug >&3 && within 60 nodes_are 0; }
nodes() { find /dev -maxdepth 1 -name 'hidraw*'; }
nodes_are() { [ "$(nodes | wc -l)" -eq "$1" ]; }
user_may_open() {
    for node in $(nodes); do
        setpriv --reuid=user --regid=user --init-groups test -r "$node" -a -w "$node" || return 1
    done
}
user_may_not_open() {
    for node in $(nodes); do
        ! setpriv --reuid=user --regid=user --init-groups test -r "$node" || return 1
    done
}

# start_program NAME: starts the installed program as the user; NAME identifies this run of the program.
start_program() {
    rm -rf "/home/user/$1"
    setpriv --reuid=user --regid=user --init-groups mkdir "/home/user/$1"
    as_user "echo \$\$ >/home/user/$1/process; TMPDIR=/home/user/$1 exec $program >/dev/null 2>&1"
    within 60 [ -s "/home/user/$1/process" ]
}
process_of() { cat "/home/user/$1/process"; }
runs() { kill -0 "$(process_of "$1")" 2>/dev/null; }
ended() { ! runs "$1"; }
end_program() {
    kill "$(process_of "$1")"
    within 30 ended "$1"
}
# logged NAME PATTERN: whether the log of the run NAME has a line that matches the pattern.
logged() { grep -qE -- "$2" "/home/user/$1"/ZEFO_VYNT_Firmware_Update_Logs/*.txt 2>/dev/null; }
show_log() { sed 's/^/| /' "/home/user/$1"/ZEFO_VYNT_Firmware_Update_Logs/*.txt; }

identified() { [ "$(grep -c "$1: identify from transfer" pair.log)" -eq "$2" ]; }
both_identified() { identified transmitter "$1" && identified headset "$1"; }

check "the kernel has /dev/uhid ($(uname -r), after $(seconds) s)" modprobe uhid
modprobe uinput
check "a user is at the screen" within 60 sh -c 'loginctl show-seat seat0 -p ActiveSession | grep -q =.'
check "the user's desktop runs" within 120 [ -p /run/user/1000/commands ]
systemctl start polkit # a complete desktop would start polkit
start_pair

. /check/user.sh
. /check/plugging.sh
. /check/purge.sh
exec 3>&-
. /check/updates.sh

[ $failures -eq 0 ] && echo "checks: all hold"
[ $failures -eq 0 ] || echo "checks: $failures do not hold"
