# Sets up what Wine needs to run. Sourced by prefix.sh and run.sh inside the Debian that has Wine.

mkdir -p /dev/shm
mount -t tmpfs tmpfs /dev/shm

export HOME=/check LC_ALL=C.UTF-8 DISPLAY=:7 WINEARCH=win32
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=;uiautomationcore=n'
