#!/bin/bash
# Scans with Debian's scanimage, which finds the scanner by itself: in a network of its own with a
# loopback only, and with a message bus and an Avahi daemon of its own.
# Usage: test_scanimage.sh KORVCAM LIBRARY [SCANS]
set -euo pipefail

kKorvcam=$(realpath "$1")
kLibrary=$(realpath "$2")
kScans=${3:-1}

skip()
{
    echo "skipped: $1"
    exit 77
}

if [[ ${KORV_SCAN_INSIDE-} != yes ]]; then
    for tool in scanimage airscan-discover avahi-daemon dbus-daemon ip unshare; do
        PATH=$PATH:/usr/sbin:/sbin command -v "$tool" >/dev/null || skip "there is no $tool"
    done
    unshare --net --mount --pid --fork --mount-proc true 2>/dev/null || skip "not root"
    setpriv --reuid=avahi --regid=messagebus --clear-groups true 2>/dev/null ||
        skip "this name space lacks the users whom the daemons run as"
    KORV_SCAN_INSIDE=yes exec unshare --net --mount --pid --fork --mount-proc bash "$0" "$@"
fi

PATH=$PATH:/usr/sbin:/sbin
# programs and library may lie below /tmp
kWork=$(mktemp -d)
# everything of this script's goes with its process namespace; the folder does not
trap 'rm -rf -- "$kWork"' EXIT
ip link set lo up
mount -t tmpfs run /run
mkdir -p /run/dbus /run/avahi-daemon
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/dbus/system_bus_socket
export HOME=$kWork KORV_CAMERA_REAL=0 TMPDIR=$kWork

dbus-daemon --system --nofork --nopidfile >"$kWork/dbus.log" 2>&1 &
for _ in {1..50}; do
    [[ ! -S /run/dbus/system_bus_socket ]] || break
    sleep 0.1
done
cat >"$kWork/avahi.conf" <<'TEXT'
[server]
use-ipv4=yes
use-ipv6=no
allow-interfaces=lo
[rlimits]
TEXT
chmod 755 "$kWork"
chmod 644 "$kWork/avahi.conf"
avahi-daemon --no-drop-root --no-chroot --no-rlimits -f "$kWork/avahi.conf" >"$kWork/avahi.log" 2>&1 &
sleep 1

fail()
{
    echo "FAILED: $1" >&2
    tail -n 20 "$kWork"/*.log >&2
    exit 1
}

# Only the protocol's own backend: the others look for scanners of their makers in the network,
# which takes seconds more.
mkdir "$kWork/sane"
cp /etc/sane.d/airscan.conf "$kWork/sane/"
echo airscan >"$kWork/sane/dll.conf"
export SANE_CONFIG_DIR=$kWork/sane

server=
found=
# serve NAME DESK OPTION ...: starts the server, and waits until scanimage has found it. Each has a name
# of its own: that of one that has ended is still found for a second.
serve()
{
    local begin name=$1 desk=$2
    shift 2
    begin=$(date +%s%N)
    "$kKorvcam" --library "$kLibrary" --desk "$desk" serve --name "$name" "$@" \
        >"$kWork/serve.out" 2>"$kWork/serve.log" &
    server=$!
    found=
    # shortly after another look for scanners the answer comes at once, whether there is one or not
    while [[ -z $found ]] && (($(date +%s%N) < begin + 20000000000)); do
        found=$(timeout 20 scanimage -L 2>"$kWork/scanimage.log" | grep -o "airscan:[^']*$name" || true)
    done
    echo "scanimage -L: '$found' after $((($(date +%s%N) - begin) / 1000000)) ms"
    [[ -n $found ]] || fail "the scanner was not found"
}

stopServer()
{
    kill "$server"
    wait "$server" || fail "the server did not end well"
    [[ ! -s $kWork/serve.log ]] || fail "the server had something to say"
}

serve "Desk at home" builtin

# Whether scanimage gets a whole A4 page, within a millimetre. Its exit status does not count: closing
# the device, sane-airscan 0.99.27 waits for ever when the close comes before the answer to its
# question for another page.
scan()
{
    local width height pixels
    timeout -k 1 30 scanimage -d "$found" --mode "$1" --resolution "$2" -x 210 -y 297 \
        --format=pnm >"$kWork/page.pnm" 2>"$kWork/scanimage.log" || true
    # the second line that is no comment
    read -r width height < <(head -c 200 "$kWork/page.pnm" | LC_ALL=C sed '/^#/d' | sed -n 2p) ||
        return 1
    pixels=$((width * height))
    [[ $1 == Gray ]] || pixels=$((3 * pixels))
    awk -v w="$width" -v h="$height" -v dpi="$2" 'BEGIN {
        w = w / dpi * 25.4; h = h / dpi * 25.4
        exit !(w > 209 && w < 211 && h > 296 && h < 298)
    }' && (($(stat -c %s "$kWork/page.pnm") > pixels)) ||
        { echo "$1 at $2 dpi: ${width}x$height pixels" && return 1; }
}

good=0
all=0
for ((number = 0; number < kScans; ++number)); do
    for mode in Color Gray; do
        for resolution in 75 150 300; do
            all=$((all + 1))
            if scan "$mode" "$resolution"; then
                good=$((good + 1))
            else
                cat "$kWork/scanimage.log" >&2
            fi
        done
    done
done
echo "$good of $all scans"
((good == all)) || fail "not every scan worked"
stopServer

# Pages that a hand turns three times, until the feeder is empty.
serve "Desk with hands" builtin:hands,seed=22,speed=0.6,turns=3 --hands-free --still 5
timeout -k 1 120 scanimage -d "$found" --source ADF --resolution 75 --format=pnm \
    --batch="$kWork/page%d.pnm" >"$kWork/scanimage.log" 2>&1 || true
pages=$(find "$kWork" -name 'page[0-9].pnm' -size +1M | wc -l)
echo "$pages pages from the feeder"
((pages >= 2 && pages <= 4)) || fail "the feeder does not work"
stopServer

# A camera that is unplugged while the feeder waits for a page: the scan ends at once, as one that
# failed; with the camera back, the next one works.
camera="$kWork/desk/1b17:0211 My Camera"
mkdir -p "$camera"
"$kKorvcam" --library "$kLibrary" --desk builtin snap --no-settle -o "$camera/page.jpg" >/dev/null
serve "Desk with a cable" "$kWork/desk" --hands-free --still 600
timeout -k 1 120 scanimage -d "$found" --source ADF --resolution 75 --format=pnm \
    --batch="$kWork/fed%d.pnm" >"$kWork/scanimage.log" 2>&1 &
client=$!
for _ in {1..300}; do
    [[ ! -s $kWork/fed1.pnm ]] || break
    sleep 0.1
done
mv "$camera" "$kWork/unplugged"
unplugged=$(date +%s%N)
status=0
wait "$client" || status=$?
milliseconds=$((($(date +%s%N) - unplugged) / 1000000))
echo "unplugged: scanimage ends with $status after $milliseconds ms"
((status != 0 && status != 124 && milliseconds < 5000)) || fail "the client was not told at once"
grep -q "I/O" "$kWork/scanimage.log" || fail "the client takes it for something else"
mv "$kWork/unplugged" "$camera"
sleep 1 # it is found within half a second, on a busy machine later
scan Gray 75 || fail "no scan with the camera back"
echo "no scan: the camera was unplugged" | diff - <(sed 's/^korvcam: //' "$kWork/serve.log") ||
    fail "the server does not say what has happened"
: >"$kWork/serve.log"
stopServer
