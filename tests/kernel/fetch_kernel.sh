#!/bin/bash
# Gets Debian's kernel by apt-get download and unpacks it, without installing it.
# Usage: fetch_kernel.sh FOLDER     leaves FOLDER/vmlinuz and FOLDER/modules
set -euo pipefail
folder=$1
[[ ! -f $folder/complete ]] || exit 0
[[ $(dpkg --print-architecture) == amd64 ]] || { echo "kernel tests: amd64 only" >&2 && exit 1; }

package=$(apt-cache depends linux-image-amd64 | awk '/Depends: linux-image/ { print $2; exit }')
[[ -n $package ]] || { echo "kernel tests: apt knows no linux-image-amd64" >&2 && exit 1; }
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
# apt says that it has no user of its own for this folder, and goes on
(cd "$work" && apt-get download -qq "$package" 2>/dev/null)
dpkg-deb -x "$work"/*.deb "$work/root"
version=${package#linux-image-}
# packages of a merged system have no /lib any more, but depmod and modprobe look for it
[[ -e $work/root/lib ]] || ln -s usr/lib "$work/root/lib"
depmod -b "$work/root" "$version"

rm -rf -- "$folder"
mkdir -p "$folder/modules"
cp "$work/root/boot/vmlinuz-$version" "$folder/vmlinuz"
# what vivid needs, in the order in which it has to be loaded; vivid itself is the tests' business
modprobe -d "$work/root" -S "$version" --show-depends vivid | while read -r _ module _; do
    name=$(basename "$module" .xz)
    # as the drivers' commands in the guest expect them
    case $module in
        *.xz) xz -dc "$module" >"$folder/modules/$name" ;;
        *) cp "$module" "$folder/modules/" ;;
    esac
    [[ $name == vivid.ko ]] || echo "$name" >>"$folder/modules/order"
done
touch "$folder/complete"
