#!/bin/bash
# The tests in a Debian of another release, with tools that only make folders and write down their
# calls. Usage: test_releases.sh ROOT
# As root, or as somebody who looks like it in a name space; skipped (77) where there is none.
# shellcheck disable=SC2016
# the stubs expand their own variables
set -euo pipefail
root=$1
if ((EUID != 0)); then
    unshare --user --map-root-user true 2>/dev/null || { echo "skipped: no name spaces" && exit 77; }
    exec unshare --user --map-root-user -- bash "$0" "$@"
fi
testFolder=$(mktemp -d)
trap 'rm -rf -- "$testFolder"' EXIT
cd "$testFolder"
export testFolder DEBOOTSTRAP_DIR=$testFolder/debootstrap KORV_FRESH_MOUNTS=1
unset CMAKE_CXX_COMPILER_LAUNCHER KORV_DEBIAN_MIRROR
mkdir -p bin debootstrap/scripts
touch debootstrap/scripts/trixie

# What runs in a fresh Debian may make one of its own there, as the tests of the packages do. Needs
# groups, which nobody can change in the name space of somebody else.
if [[ $(</proc/self/setgroups) == allow ]] &&
    unshare --mount --pid --fork -- mount -t proc proc /proc 2>/dev/null; then
    unshare --mount -- bash -euc 'source "$0/tests/packages/fresh_debian.sh"
        mkdir -p tree/{etc,proc,dev/pts,usr}
        echo root:x:0:0::/: >tree/etc/passwd
        echo root:x:0: >tree/etc/group
        cp -P /bin /sbin /lib* tree/
        mount --rbind /usr tree/usr
        inFreshDebian "$PWD/tree" unshare --mount --pid --fork -- mount -t proc proc /proc' "$root" ||
        { echo "no name spaces in a fresh Debian" >&2 && exit 1; }
fi

stub()
{
    printf '#!/bin/bash\n%s\n' "$2" >"bin/$1"
    chmod +x "bin/$1"
}
called='echo "${0##*/} ${*//[[:space:]]/ }" >>"$testFolder/calls"'
stub debootstrap "$called"'
[[ ! -e $testFolder/no-network ]] || exit 1
tree=${*: -2:1}; mkdir -p "$tree"/etc/{dpkg/dpkg.cfg.d,apt/apt.conf.d} "$tree/var/cache/apt/archives"'
stub wget '[[ $* != *--spider* ]] || exit 0
[[ ! -e $testFolder/no-list ]] || exit 4
cat "$testFolder/release"'
# only says who is given a limited time
stub timeout "$called"'; shift; exec "$@"'
stub ccache 'echo "$testFolder"'
stub mount '[[ ! -e $testFolder/no-mount ]]'
# says "full" for as long as that file is there
stub df 'echo Avail; if [[ -e $testFolder/full ]]; then echo 1000; else echo 99000000; fi'
stub umount ''
stub mountpoint 'exit 1'
stub apt-config ''
# keeps the path that leads to these
stub env 'while [[ $1 == -i || $1 == *=* ]]; do shift; done; exec "$@"'
# runs what follows the options, without the script that would mount
stub unshare 'until [[ $1 == -- ]]; do [[ $# -gt 1 ]] || exit 0; shift; done; shift
[[ $1 != bash ]] || { shift 4 && set -- chroot "$@"; }
exec "$@"'
# what is done there fails when the file "failing" holds a part of it
stub chroot "$called"'
[[ ! -e $testFolder/failing ]] || ! grep -qf "$testFolder/failing" <<<"$*"'
tar=$(type -P tar)
export tar
PATH=$testFolder/bin:$PATH

failed=0
complain()
{
    echo "$*: $(<log)" >&2
    failed=1
}

fresh()
{
    rm -rf sources folder calls no-network no-list no-mount full failing
    mkdir -p sources/tools
    touch calls
    echo "as of today" >release
    cp "$root/tools/packages.sh" sources/tools/
}

# attempt STATUS TITLE OPTION ...
attempt()
{
    local expected=$1 title=$2 status=0
    shift 2
    "$root/tests/releases/in_fresh_debian.sh" sources folder trixie --build dev "$@" >log 2>&1 ||
        status=$?
    ((status == expected)) || complain "$title: ended with $status"
}

called()
{
    grep -qE -- "$2" calls || complain "$1: no call of $2 in $(<calls)"
}

uncalled()
{
    ! grep -qE -- "$2" calls || complain "$1: calls $2"
}

says()
{
    grep -qF -- "$2" log || complain "$1: does not say $2"
}

fresh
attempt 1 "without photographs"
called "the whole" 'chroot .* \./run$'
says "the whole" "./run made no PDF file"
uncalled "the whole" KORV_CMAKE_OPTIONS

fresh
attempt 0 "units" --units
uncalled "units" '\./run'
called "units" 'chroot .* apt-get install .* --simulate'
called "units" 'chroot .* --download-only'
for work in "wget .*--spider" "wget .*InRelease" debootstrap; do
    called "units, a limited time" "timeout [0-9]+ $work"
done
called "units, a limited time" 'chroot .* timeout [0-9]+ apt-get update .*--error-on=any'
called "units, a limited time" 'chroot .* timeout "[$]1" apt-get .* 900 --download-only'
uncalled "units" kDesktopPackages
called "units" 'chroot .* \./test --build dev --units$'
called "units, rooms compiled at once" ' KORV_CMAKE_OPTIONS=-DCMAKE_UNITY_BUILD=ON .* \./test '
[[ ! -e folder/trixie/debian ]] || complain "units: the folder stays"

: >calls
attempt 0 "units once more" --units
uncalled "units once more" debootstrap
uncalled "units once more" apt-get
called "units once more" 'chroot .* \./test --build dev --units$'

: >calls
echo "as of tomorrow" >release
attempt 0 "units of a newer release" --units
called "units of a newer release" debootstrap
echo "# and one more" >>sources/tools/packages.sh
: >calls
attempt 0 "units with other packages" --units
called "units with other packages" debootstrap
(($(find folder/trixie -name '*.tar*' | wc -l) == 1)) || complain "more than one Debian is kept"

fresh
touch no-network
attempt 0 "without a network" --units
says "without a network" "Tests on Debian trixie skipped: it could not be downloaded"
uncalled "without a network" chroot
fresh
touch no-list
attempt 0 "a mirror that breaks off" --units
says "a mirror that breaks off" "Tests on Debian trixie skipped: http://deb.debian.org/debian cannot be reached"
fresh
touch no-mount
attempt 0 "without the right to mount" --units
says "without the right to mount" "Tests on Debian trixie skipped: this machine lets nobody mount"
fresh
touch full
attempt 0 "a full disk" --units
says "a full disk" "Tests on Debian trixie skipped: only 0 GB are free"
fresh
echo --download-only >failing
attempt 0 "a network that fails" --units
says "a network that fails" "Tests on Debian trixie skipped: it could not be downloaded"

# what is kept only saves time
fresh
attempt 0 "a kept Debian" --units
: >calls
for kept in folder/trixie/debian-*.tar; do
    echo "no archive" >"$kept"
done
attempt 0 "a broken kept Debian" --units
called "a broken kept Debian" debootstrap
called "a broken kept Debian" 'chroot .* \./test --build dev --units$'
fresh
stub tar '[[ $* != *.new* ]] || exit 2; exec "$tar" "$@"'
attempt 0 "no room to keep it" --units
called "no room to keep it" 'chroot .* \./test --build dev --units$'
[[ -z $(find folder/trixie -name '*.tar*') ]] || complain "half a Debian is kept"
rm bin/tar

fresh
echo "apt-get install .* ccache" >failing
CMAKE_CXX_COMPILER_LAUNCHER=ccache attempt 0 "without a compiler's cache" --units
called "without a compiler's cache" 'chroot .* \./test --build dev --units$'

fresh
echo "apt-get install" >failing
attempt 1 "packages that are not there" --units
fresh
echo ./test >failing
attempt 1 "tests that fail" --units
says "tests that fail" "FAILED"
((failed == 0)) && echo passed
exit "$failed"
