#!/bin/bash
# Keeps korvcam serve busy for as long as wanted; usage() says how.
set -euo pipefail

usage()
{
    cat <<'TEXT'
Usage: tools/scan_clients.sh [SECONDS [PRESET]]
Builds korvcam and the camera library with PRESET (dev; asan and tsan find more) and has two clients
scan from the simulated desk for SECONDS (600), while a third does not read what it asked for and the
camera is unplugged every three seconds. Every answer is checked; memory and open files at the end are
compared with those at the beginning.
TEXT
}

[[ ${1:-} != -h && ${1:-} != --help ]] || { usage && exit; }
if (($# > 2)) || [[ ! ${1:-600} =~ ^[1-9][0-9]*$ ]]; then
    usage >&2 && exit 2
fi
seconds=${1:-600}
preset=${2:-dev}

cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/packages.sh
source tools/packages.sh
installPackages "${kRunPackages[@]}" "${kTestPackages[@]}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target korvcam korvcam-serve korv_camera_library

build=$PWD/build/$preset
export KORV_SCAN_SECONDS=$seconds KORVCAM=$build/cli/korvcam
CAMERA_LIBRARY=$(find "$build/library" -name 'libKorvPlixoManager.so' -print -quit)
export CAMERA_LIBRARY
[[ $preset != *san ]] || export KORV_SANITIZED=yes
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0
cd tests/serve
exec python3 -B -m unittest -v test_desk
