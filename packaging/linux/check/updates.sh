# Runs the bench as root, with devices on the kernel's HID bus: first whole updates of both generations, then updates
# with a fault. After a fault the bench repairs the device as a user would. run.sh sources this file.

. /check/settings # sets the variables rows and seed

# bench NAME ARGUMENT...: runs the bench, which drives the updater and judges the result. The output goes to NAME.log.
bench() {
    name=$1
    shift
    QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/run/check timeout 1800 ./bench --uhid "$@" >"$name.log" 2>&1 &&
        return 0
    tail -n 60 "$name.log" | sed 's/^/| /'
    return 1
}

# logs NAME TEXT: whether NAME.log contains the text.
logs() { grep -qF -- "$2" "$1.log"; }

# equal NAME COUNT: whether NAME.log says exactly COUNT times that a device's memory equals its image after an update.
equal() { [ "$(grep -c 'verdict: .* bytes compared, equal, no error' "$1.log")" -eq "$2" ]; }

check "generation 1: both devices are updated at the same time" bench generation-1 --speed 4 --generation 1
check "generation 1: both memories are equal to their images" equal generation-1 2
check "generation 2: both devices are updated at the same time" bench generation-2 --speed 4 --generation 2
check "generation 2: both memories are equal to their images" equal generation-2 2

# The updater checks nothing after the last commit (the chip's last write to its flash), and can then report success
# although the device is gone. So this check pulls the cable early in a long download.
check "an update during which the headset's cable is pulled ends as expected" \
    bench vanish --speed 2 --image-size 32768 --fault vanish@20
check "the cable was pulled in the download" logs vanish "vanished at transfer 20 (download)"
check "the failure report is shown" logs vanish "screen: failure report"
check "plugged in again, the device is found in programming mode" logs vanish "headset: connected, in programming mode"
check "the second update repairs the headset, and both memories are equal to their images" equal vanish 3
check "a device that comes back on another port is updated" bench other-port --speed 4 --fault other-port
check "the device came back on another port" logs other-port "fault: comes back on another port"
check "after an update on another port and after the next update, both memories are equal to their images" \
    equal other-port 4

note "the fault matrix starts"
check "$rows rows of the fault matrix, drawn by seed $seed, end as expected" \
    bench matrix --fault-matrix --sample "$rows" --seed "$seed" --speed 20
sed 's/^/| /' matrix.log | tail -n 40
note "the fault matrix has ended"
