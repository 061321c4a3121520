# Installs the package, starts the program on an X server, and purges the package, but not its dependencies. check.sh
# runs this script in the bare Debian.
cd /check || exit 1
. /check/checks.sh
export LC_ALL=C.UTF-8 DISPLAY=:7 DEBIAN_FRONTEND=noninteractive
program=zefo-vynt-firmware-update

check "no Qt is installed" [ ! -e /usr/lib/x86_64-linux-gnu/libQt5Core.so.5 ]
apt-get install -y -qq --no-install-recommends -o Dpkg::Options::=--force-unsafe-io /check/*.deb >install.log 2>&1 ||
    cat install.log
check "the package installs with its dependencies" [ "$(dpkg-query -W -f '${db:Status-Status}' $program)" = installed ]

mkdir -p pictures
Xvfb $DISPLAY -screen 0 800x600x24 -nolisten tcp 2>/dev/null &
within 60 [ -S /tmp/.X11-unix/X7 ]
mkdir -m 700 /tmp/run
TMPDIR=/tmp/run XDG_RUNTIME_DIR=/tmp/run $program 2>/dev/null &
updater=$!
colours() { [ "$(import -window root -format %k info: 2>/dev/null)" -gt 100 ] && import -window root pictures/start-screen.png; }
check "the start screen shows" within 60 colours
check "the log says why there are no devices" within 30 sh -c \
    "grep -q '^No device can be seen: udev is not running' /tmp/run/ZEFO_VYNT_Firmware_Update_Logs/*.txt"
check "the program still runs" kill -0 $updater
kill $updater
purge() { dpkg --purge $program >purge.log; }
check "the package is purged" purge
exit $((failures > 0))
