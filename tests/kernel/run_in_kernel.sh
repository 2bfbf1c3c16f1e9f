#!/bin/bash
# Boots Debian's kernel in an emulator with nothing but the tests in it, and tells how they went.
# Usage: run_in_kernel.sh KERNEL_FOLDER TEST_PROGRAM
# Status 0 passed, 1 failed, 77 cannot be run here (skipped).
set -euo pipefail
kernel=$1 program=$2
here=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)

skip()
{
    echo "kernel tests skipped: $*"
    exit 77
}

for tool in qemu-system-x86_64 busybox cpio udevadm depmod; do
    command -v "$tool" >/dev/null || skip "$tool is not installed"
done
"$here/fetch_kernel.sh" "$kernel" || skip "Debian's kernel cannot be downloaded"

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
root=$work/root
mkdir -p "$root"/{bin,dev,proc,sys,tmp,run,modules,etc}

# a program with the libraries it is linked to, if any, at their own places
install()
{
    local library libraries
    cp -L "$1" "$root/$2"
    libraries=$(ldd "$1" 2>/dev/null | grep -o '/[^ )]*') || return 0
    for library in $libraries; do
        mkdir -p "$root$(dirname "$library")"
        cp -Lu "$library" "$root$library"
    done
}
install "$(command -v busybox)" bin/busybox
install "$program" tests
# one program, which is the daemon under that name
install "$(command -v udevadm)" bin/systemd-udevd
mkdir -p "$root/lib/udev/rules.d"
install /lib/udev/v4l_id lib/udev/v4l_id
cp /lib/udev/rules.d/{50-udev-default,60-persistent-v4l}.rules "$root/lib/udev/rules.d/"
printf 'root:x:0:0::/:/bin/sh\n' >"$root/etc/passwd"
printf 'root:x:0:\nvideo:x:44:\n' >"$root/etc/group"
cp "$kernel"/modules/* "$root/modules/"
cp "$here/init.sh" "$root/init"
chmod 755 "$root/init"
(cd "$root" && find . | cpio -o -H newc --quiet) >"$work/initramfs"

timeout -k 5 "${KORV_KERNEL_SECONDS:-270}" qemu-system-x86_64 -M q35 -cpu max -smp 2 -m 1024 \
    -accel tcg,thread=multi -nodefaults -no-user-config -display none -no-reboot \
    -kernel "$kernel/vmlinuz" -initrd "$work/initramfs" \
    -append "console=ttyS0 quiet panic=-1 mitigations=off random.trust_cpu=on" \
    -serial stdio </dev/null | tee "$work/console" || true
grep -q '^KERNEL TESTS: passed' "$work/console"
