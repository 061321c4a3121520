#!/bin/sh
# Runs as process 1 of the virtual machine: mounts the file systems that programs expect, runs the script that the
# kernel parameter "task" names, and powers the machine off.
PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
export PATH
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t tmpfs tmpfs /tmp
mkdir -p /dev/pts
mount -t devpts devpts /dev/pts
# shellcheck disable=SC2154
sh "$task"
sync
echo o >/proc/sysrq-trigger # powers off
sleep 60
