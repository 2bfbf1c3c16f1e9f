#!/bin/bash
# Runs ./run and ./test in a fresh Debian; with the option --units only ./test, in a Debian with its
# packages that is kept for the next time.
# Usage: in_fresh_debian.sh ROOT WORK RELEASE [OPTION ...]
#   ROOT: the sources; WORK: a folder for everything it makes; RELEASE: Debian's name of it;
#   OPTION: what ./test is to be called with there
# Ends with 0 when all passed, and when it cannot be run here or Debian cannot be downloaded, which
# it says. Whatever fails for a reason that is not the sources' belongs into download() and keep().
# With CMAKE_CXX_COMPILER_LAUNCHER=ccache, this machine's ccache is used there.
set -euo pipefail
root=$1 release=$3
options=("${@:4}")
[[ " ${options[*]} " == *" --units "* ]] && units=yes || units=no
work=$(realpath -m -- "$2/$release")
here=$(cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/packages/fresh_debian.sh
source "$here/../packages/fresh_debian.sh"
# shellcheck source=tests/packages/steps.sh
source "$here/../packages/steps.sh"

skip()
{
    echo "Tests on Debian $release skipped: $*"
    exit
}

mirror=${KORV_DEBIAN_MIRROR:-http://deb.debian.org/debian}
obstacle=$(freshDebianObstacle "$mirror" "$release")
[[ -z $obstacle ]] || skip "$obstacle"

# What is mounted for it is gone with the last process in it.
if [[ -z ${KORV_FRESH_MOUNTS:-} ]]; then
    KORV_FRESH_MOUNTS=1 exec unshare --mount -- "$0" "$@"
fi

readonly debian=$work/debian archives=$work/archives
cleanUp()
{
    local folder
    for folder in "$debian/var/cache/apt/archives" "$debian/ccache"; do
        ! mountpoint -q "$folder" || umount "$folder"
    done
    rm -rf --one-file-system -- "$debian"
}
trap 'exit 130' INT
trap 'exit 143' TERM
trap cleanUp EXIT
cleanUp
rm -rf -- "$work/logs" "$work/report"
mkdir -p "$work/logs" "$archives/partial"
# Debian with its packages, these once more as downloaded and as kept, and the build
readonly kNeededGigabytes=8
free=$(df -k --output=avail "$work" | tail -n 1)
((free >> 20 >= kNeededGigabytes)) ||
    skip "only $((free >> 20)) GB are free in $work, of $kNeededGigabytes that it can take"

environment=()
# What a kept Debian is made of: another release, mirror or list of packages makes another one.
keptDebian()
{
    local sum
    sum=$({ echo "$mirror" && cat "$root/tools/packages.sh" &&
        askMirror -O - "$mirror/dists/$release/InRelease"; } | sha256sum) || return
    echo "$work/debian-${sum:0:16}.tar"
}

# The packages that ./test --units needs there, as it would install them itself: aptForTests LIMIT
# OPTION ...; LIMIT as for timeout.
# shellcheck disable=SC2016
aptForTests()
{
    inFreshDebian "$debian" bash -c 'source /clone/tools/packages.sh
        entries=("${kRunPackages[@]}" "${kTestPackages[@]}" "${kQuickTestPackages[@]}")
        exec timeout "$1" apt-get install -y -qq --no-install-recommends "${@:2}" "${entries[@]%%|*}"
        ' bash "$@"
}

# All that needs the network, and so can fail for a reason that is not ours.
download()
{
    makeFreshDebian "$debian" "$mirror" "$release"
    # a second run downloads nothing that is here
    mount --bind "$archives" "$debian/var/cache/apt/archives"
    inFreshDebian "$debian" timeout 120 apt-get update -qq --error-on=any
    copyClone
    # packages that this release does not have are ours, and installing them says which
    [[ $units == no ]] || ! aptForTests 300 --simulate || aptForTests 900 --download-only
}

# Takes the one that was kept.
unpack()
{
    mkdir "$debian"
    tar -C "$debian" -x -f "$kept"
    copyClone
}

copyClone()
{
    mkdir "$debian/clone"
    tar -C "$root" --exclude=./build --exclude=./out --exclude=./.git -c . | tar -C "$debian/clone" -x
}

keep()
{
    rm -f -- "$work"/debian-*.tar*
    tar -C "$debian" --exclude=./clone --exclude='./var/cache/apt/archives/*' -c -f "$kept.new" . ||
        { rm -f -- "$kept.new" && return 1; }
    mv -- "$kept.new" "$kept"
}

useCompilerCache()
{
    local folder
    folder=$(ccache -k cache_dir)
    inFreshDebian "$debian" apt-get install -y -qq --no-install-recommends ccache
    mkdir "$debian/ccache"
    mount --bind "$folder" "$debian/ccache"
}

inClone()
{
    # shellcheck disable=SC2016
    inFreshDebian "$debian" env "${environment[@]}" bash -c 'cd /clone && exec "$@"' bash "$@"
}

photographs()
{
    inClone ./run
    [[ $(head -c 5 "$debian/clone/out/0001.pdf") == %PDF- ]] || fail "./run made no PDF file"
}

tests()
{
    inClone ./test "${options[@]}"
}

kept=$(keptDebian) || skip "$mirror cannot be reached"
stepStatus=1
if [[ $units == yes && -e $kept ]]; then
    measure "kept Debian $release" "cannot be used" unpack
    ((stepStatus == 0)) || cleanUp
fi
if ((stepStatus != 0)); then
    measure "fresh Debian $release" "not to be had" download
    ((stepStatus == 0)) || {
        tail -n 5 "$work/logs/step-$steps.log"
        skip "it could not be downloaded"
    }
    if [[ $units == yes ]]; then
        step "packages" aptForTests 0
        measure "kept for the next time" "no room" keep
    fi
fi
if [[ ${CMAKE_CXX_COMPILER_LAUNCHER:-} == ccache ]]; then
    # it is to be downloaded, too, and all goes well without it
    measure "compiler's cache" "not to be had" useCompilerCache
    ((stepStatus != 0)) || environment=(
        CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
        CCACHE_DIR=/ccache CCACHE_BASEDIR=/clone CCACHE_NOHASHDIR=1
        "CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-}" ${CCACHE_MAXSIZE:+"CCACHE_MAXSIZE=$CCACHE_MAXSIZE"})
fi
# what each file's own compilation says has been seen where ./test built all
[[ $units == no ]] ||
    environment+=("KORV_CMAKE_OPTIONS=-DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=12")
[[ $units == yes ]] || step "./run" photographs
step "./test ${options[*]}" tests
# what was skipped there is said with its reason
sed -n '/^== Summary/,$p' "$work/logs/step-$steps.log"
echo "The whole output: $work/logs"
