#!/bin/bash
# Builds the Debian packages twice, compares them, has them examined by Debian's own tools, and lives
# with them in a fresh Debian of this machine's release: install, use, upgrade, replace, remove, purge.
# Usage: check_packages.sh ROOT WORK     ROOT: the sources, WORK: a folder for everything it makes
# Status 0 passed, 1 failed, 77 cannot be run here (skipped).
set -euo pipefail
root=$1 work=$2
here=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/packages/fresh_debian.sh
source "$here/fresh_debian.sh"
# shellcheck source=tests/packages/steps.sh
source "$here/steps.sh"

mirror=${KORV_DEBIAN_MIRROR:-http://deb.debian.org/debian}
# the packages are made for the libraries of this release
# shellcheck disable=SC1091
release=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
obstacle=$(freshDebianObstacle "$mirror" "$release" lintian desktop-file-validate appstreamcli \
    man mandoc systemd-analyze djpeg)
[[ -z $obstacle ]] || { echo "package tests skipped: $obstacle" && exit 77; }

rm -rf --one-file-system -- "$work"
mkdir -p "$work"/{packages,logs}
debian=$work/debian
declare -A jobs=()
cleanUp()
{
    local process
    for process in "${jobs[@]}"; do
        kill -- "-$process" 2>/dev/null || true
    done
    rm -rf --one-file-system -- "$debian" "$work/second copy"
}
trap cleanUp EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# start NAME COMMAND ...: runs it in the background, in a process group of its own
start()
{
    local name=$1
    shift
    set -m
    (
        status=0
        # in a shell of its own: as a condition, bash would ignore set -e within
        (set -euo pipefail && "$@") >"$work/logs/$name.log" 2>&1 </dev/null &
        wait $! || status=$?
        echo "$status" >"$work/logs/$name.status"
    ) &
    set +m
    jobs[$name]=$!
}

# finish NAME: waits for what start() started, and shows what it said when it failed
finish()
{
    local status=$work/logs/$1.status
    until [[ -s $status || ! -e /proc/${jobs[$1]} ]]; do
        sleep 0.2
    done
    [[ $(<"$status") == 0 ]] || { cat "$work/logs/$1.log" >&2 && return 1; }
}

# The sources a second time under a name of another length with a blank in it, without the times and
# the build of the first.
buildElsewhere()
{
    local copy="$work/second copy"
    mkdir -p "$copy"
    tar -C "$root" --exclude=./build --exclude=./out --exclude=./.git -c . | tar -C "$copy" -xm
    "$copy/scripts/package" --output "$work/packages/second"
    # the same programs under a higher version, to upgrade to
    "$copy/scripts/package" --output "$work/packages/upgrade" --revision 99
}

start debian makeFreshDebian "$debian" "$mirror" "$release"
step "first build" "$root/scripts/package" --output "$work/packages/first"
start second buildElsewhere
step "fresh Debian (waited for)" finish debian

# shellcheck source=tests/packages/examine.sh
source "$here/examine.sh"
# shellcheck source=tests/packages/life.sh
source "$here/life.sh"
step "examine" examinePackages "$work/packages/first"
step "install" installThem
step "use" useAsTester
step "rights" refuseTester
step "second build (waited for)" finish second
step "same bytes" compareBuilds
step "upgrade" upgrade
step "another library" replaceLibrary
step "remove" removeThem
step "purge" purgeThem
sed 's/^/  /' "$work/logs/needed" "$work/first.sha256" | tee -a "$work/report"
