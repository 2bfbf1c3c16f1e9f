#!/bin/busybox sh
# shellcheck shell=dash
# The first and only program of the guest: loads the drivers, runs the tests, switches off.
export PATH=/bin
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t devtmpfs devtmpfs /dev
mount -t tmpfs tmpfs /tmp
mkdir -p /run/udev
ifconfig lo up
while read -r module; do
    insmod "/modules/$module" || echo "kernel test: $module does not load"
done </modules/order

# $1: a name, the rest: arguments of the test program
run()
{
    name=$1
    shift
    echo "== $name"
    /tests "$@"
    status=$?
    [ "$status" = 0 ] || failed="$failed $name"
}

failed=
# without udevd the library listens to the kernel itself
run "without udevd" --gtest_filter='KernelPlug.*'
systemd-udevd --daemon
run "with udevd"
if dmesg | grep -E 'BUG:|WARNING:|Oops'; then
    failed="$failed kernel-log"
fi
echo "KERNEL TESTS: ${failed:-passed}"
poweroff -f
