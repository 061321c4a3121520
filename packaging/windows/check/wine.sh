# Prepares the environment for Wine. prefix.sh and run.sh source this file inside the Debian that has Wine.

mkdir -p /dev/shm
mount -t tmpfs tmpfs /dev/shm

export HOME=/check LC_ALL=C.UTF-8 DISPLAY=:7 WINEARCH=win32
export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=;uiautomationcore=n'
