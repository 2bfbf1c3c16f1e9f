#!/bin/bash
# ./run and ./test as whole scripts, in a clone that holds little else, with build tools that only
# write down their calls. Usage: test_run.sh ROOT
# As an ordinary user throughout: root becomes one, because nothing is read-only to root.
set -euo pipefail
root=$1

if [[ -z ${KORV_RUN_TEST_FOLDER:-} ]]; then
    KORV_RUN_TEST_FOLDER=$(mktemp -d "${TMPDIR:-/tmp}/korv-run-test.XXXXXX")
    export KORV_RUN_TEST_FOLDER
    trap 'chmod -R u+w -- "$KORV_RUN_TEST_FOLDER" && rm -rf -- "$KORV_RUN_TEST_FOLDER"' EXIT
    mkdir -p "$KORV_RUN_TEST_FOLDER/sources/tools" "$KORV_RUN_TEST_FOLDER/sources/tests"
    cp "$root"/{run,test} "$KORV_RUN_TEST_FOLDER/sources/"
    cp "$root"/tools/{packages,test_results,cross}.sh "$KORV_RUN_TEST_FOLDER/sources/tools/"
    cp "$root"/tests/{lsan,tsan}.supp "$KORV_RUN_TEST_FOLDER/sources/tests/"
    cp -R "$root"/tests/{packages,releases} "$KORV_RUN_TEST_FOLDER/sources/tests/"
    cp "${BASH_SOURCE[0]}" "$KORV_RUN_TEST_FOLDER/test_run.sh"
    user=()
    if ((EUID == 0)); then
        user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
        chown -R 65534:65534 "$KORV_RUN_TEST_FOLDER"
    fi
    chmod -R a+rX "$KORV_RUN_TEST_FOLDER"
    cd "$KORV_RUN_TEST_FOLDER"
    "${user[@]}" bash "$KORV_RUN_TEST_FOLDER/test_run.sh" "$KORV_RUN_TEST_FOLDER/sources"
    exit
fi

work=$KORV_RUN_TEST_FOLDER
cd "$work"
unset KORV_BUILDS_LOCKED KORV_CAMERA_DESK WAYLAND_DISPLAY
unset KORV_WINDOW_GROWS
export DISPLAY=:77 HOME=$work/home TMPDIR=$work/tmp LC_ALL=C.UTF-8 work
mkdir home tmp bin

children=()
endChildren()
{
    touch "$work/go"
    ((${#children[@]} == 0)) || kill "${children[@]}" 2>/dev/null || true
    wait
    children=()
}
trap endChildren EXIT

failed=0
complain()
{
    echo "$*" >&2
    failed=1
}

expect()
{
    [[ $2 == "$3" ]] || complain "$1: expected '$2', got '$3'"
}

contains()
{
    grep -qF -- "$2" "$3" || complain "$1: no '$2' in: $(head -n 5 "$3")"
}

waitFor()
{
    for _ in {1..200}; do
        ! "${@:2}" 2>/dev/null || return 0
        sleep 0.05
    done
    complain "$1 did not happen"
    return 1
}

stub()
{
    cat >"bin/$1"
    chmod +x "bin/$1"
}

# Nothing but these commands is to be found.
for tool in bash sh env cat cp rm mkdir rmdir ls chmod touch find diff sort grep sed awk head tail tee cut \
    cksum getent dirname basename mktemp id sleep locale flock umask realpath true nproc stat wc kill \
    readlink date comm mv; do
    path=$(type -P "$tool") || continue
    ln -s "$path" "bin/$tool"
done
stub dpkg-query <<'STUB'
#!/bin/bash
case $* in
    -W*) sed 's/$/ installed/' "$work/installed"; exit 1 ;;
    *) exit "$(<"$work/owned")" ;;
esac
STUB
stub apt-get <<'STUB'
#!/bin/bash
echo "apt-get $*" >>"$work/calls"
STUB
stub sudo <<'STUB'
#!/bin/bash
[[ $1 == -v ]] || exec "$@"
STUB
# builds hold a folder of their own, so that two at once are noticed
stub cmake <<'STUB'
#!/bin/bash
echo "cmake $*" >>"$work/calls"
case $1 in
    --preset)
        mkdir -p "build/$2"
        touch "build/$2/build.ninja"
        echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >"build/$2/CMakeCache.txt"
        ;;
    --build)
        mkdir "$work/building" || touch "$work/overlap"
        for _ in {1..200}; do [[ -e $work/go ]] && break; sleep 0.05; done
        rmdir "$work/building"
        exit "$(<"$work/build-status")"
        ;;
    --install)
        mkdir -p "$DESTDIR$work/opt/camera/bin"
        cp "$work/program" "$DESTDIR$work/opt/camera/bin/the-window"
        cp "$work/tool" "$DESTDIR$work/opt/camera/bin/korvcam"
        ;;
esac
STUB
stub ctest <<'STUB'
#!/bin/bash
echo "ctest $*" >>"$work/calls"
list=${LSAN_OPTIONS#suppressions=} && list=${list%%:*}
find "${list%/*}" "$list" "$HOME" -maxdepth 0 -printf '%M ' >"$work/rights"
echo "100% tests passed, 0 tests failed out of 1"
STUB
stub Xvfb <<'STUB'
#!/bin/bash
echo 77 >&3
exec sleep 60
STUB
cat >program <<'STUB'
#!/bin/bash
env >"$work/environment"
if [[ -e $work/stay ]]; then exec sleep 60; fi
STUB
cat >tool <<'STUB'
#!/bin/bash
for word in "$@"; do last=$word; done
case $* in
    list) exit 0 ;;
    *snap*) for n in 1 2 3; do echo "${last%.jpg}-000$n.jpg" && touch "${last%.jpg}-000$n.jpg"; done ;;
    *combine*) [[ -e ${*: -3:1} ]] && touch "$last" ;;
esac
STUB
chmod +x program tool
PATH=$work/bin

# A clone as git would make it, on a machine where all packages are installed.
fresh()
{
    chmod -R u+w clone opt 2>/dev/null || true
    rm -rf clone opt calls building overlap stay go environment home/*
    mkdir -p opt/camera
    cp -R sources clone
    # a process with the application's own name would keep others from starting it
    sed -i "s|/opt/vexalin/camera|$work/opt/camera|; s|vexalin-plixo-base|the-window|" clone/run
    sed -i "s|/etc/os-release|$work/os-release|" clone/tools/packages.sh
    printf 'ID=debian\nVERSION_ID="12"\nPRETTY_NAME="Debian GNU/Linux 12 (bookworm)"\n' >os-release
    sed -n 's/^ *"\([a-z0-9.+-]*\)|.*/\1/p' clone/tools/packages.sh >installed
    echo 1 >owned
    echo 0 >build-status
    touch go calls
}

# attempt COMMAND ...: its output in out and err, its exit status in status
attempt()
{
    status=0
    "$@" >out 2>err </dev/null || status=$?
}

oneLine()
{
    expect "$1: lines of error" 1 "$(wc -l <err)"
    expect "$1: lines of output" 0 "$(wc -l <out)"
}

startsAsTheMenuEntryDoes()
{
    fresh
    attempt clone/run
    expect "a run" 0 "$status"
    contains "environment" "KORV_WINDOW_GROWS=1" environment
    attempt env KORV_WINDOW_GROWS=0 clone/run
    contains "the user's choice" "KORV_WINDOW_GROWS=0" environment
}

secondWaits()
{
    local second=$1
    fresh
    rm go
    clone/run >first.out 2>&1 </dev/null &
    children+=($!)
    waitFor "the first build" test -d building || true
    "$second" >second.out 2>&1 </dev/null &
    children+=($!)
    waitFor "waiting of $second" grep -qF "Waiting for another ./run or ./test in this folder" \
        second.out || true
    expect "builds before the first has ended" 1 "$(grep -c -- --build calls)"
    touch go
    wait "${children[0]}" || complain "./run before $second failed: $(<first.out)"
    wait "${children[1]}" || complain "$second after ./run failed: $(<second.out)"
    children=()
    [[ ! -e overlap ]] || complain "./run and $second built at the same time"
    expect "no waiting alone" 0 "$(grep -c Waiting first.out)"
}

windowKeepsNoLock()
{
    fresh
    touch stay
    clone/run >out 2>&1 </dev/null &
    children+=($!)
    waitFor "start of the window" test -s environment || true
    flock -n clone/build/.lock true || complain "the window keeps the lock"
    ! grep -q KORV_BUILDS_LOCKED environment || complain "the window believes it has the lock"
    endChildren
}

lockOfSomebodyElse()
{
    fresh
    mkdir clone/build
    touch clone/build/.lock
    chmod a-w clone/build/.lock
    attempt clone/run
    expect "a lock that cannot be written to" 0 "$status"
    expect "a lock that cannot be written to" "" "$(<err)"
}

wrongRelease()
{
    local command
    for command in run test; do
        fresh
        printf 'ID=ubuntu\nVERSION_ID="22.04"\nPRETTY_NAME="Ubuntu 22.04.3 LTS"\n' >os-release
        attempt "clone/$command"
        expect "wrong release" 1 "$status"
        oneLine "wrong release"
        contains "wrong release" "$command: this is Ubuntu 22.04.3 LTS; only Debian 12 and 13 are supported" err
        contains "wrong release" "--anyway" err
        expect "nothing was done" "" "$(<calls)"
        attempt "clone/$command" --anyway
        expect "$command --anyway" 0 "$status"
        oneLine=$(grep -c "Ubuntu" err) || true
        expect "$command --anyway says so" 1 "$oneLine"
    done
    fresh
    rm os-release
    attempt clone/run
    contains "no release at all" "run: this is an unknown system; only Debian 12 and 13 are supported" err
}

newerRelease()
{
    local command
    for command in run test; do
        fresh
        printf 'ID=debian\nVERSION_ID="13"\nPRETTY_NAME="Debian GNU/Linux 13 (trixie)"\n' >os-release
        attempt "clone/$command"
        expect "$command on Debian 13" 0 "$status"
        expect "$command on Debian 13, error" "" "$(<err)"
    done
}

oneBuild()
{
    fresh
    attempt clone/test --build tsan
    expect "one build" 0 "$status"
    expect "one build" "cmake --preset tsan -B build/tsan" "$(grep -e --preset calls)"
    : >calls
    attempt env KORV_CMAKE_OPTIONS="-DONE=1 -DTWO=2" clone/test --build tsan
    expect "options of cmake" "cmake --preset tsan -B build/tsan -DONE=1 -DTWO=2" \
        "$(grep -e --preset calls)"
    attempt clone/test --build
    expect "no build's name" 2 "$status"
    attempt clone/test --build fast
    expect "a build that there is not" 2 "$status"
    contains "a build that there is not" "--build needs one of dev, asan, tsan" err
}

unitsAlone()
{
    fresh
    attempt clone/test --build dev
    expect "all tests" 0 "$(grep -c 'ctest .*-LE' calls)"
    # some tests become somebody else, whose sanitizer reads that list
    expect "rights" "drwx--x--x -rw-r--r-- drwx------ " "$(<rights)"
    : >calls
    attempt clone/test --build dev --units
    expect "units" 0 "$status"
    contains "units" "-LE ^(tools|e2e)$" calls
    fresh
    sed -i /weston/d installed
    attempt clone/test --build dev --units
    expect "packages of other tests" 0 "$(grep -c "apt-get.* weston" calls)"
    attempt clone/test --build dev
    expect "packages of all tests" 1 "$(grep -c '^apt-get install.* weston' calls)"
    attempt clone/test --architecture ARM
    expect "no architecture's name" 2 "$status"
    contains "no architecture's name" "--architecture needs the name of one of Debian's" err
}

# only root can make a fresh Debian, and these tests run as somebody else
otherRelease()
{
    fresh
    attempt clone/test --release trixie
    expect "another release" 0 "$status"
    contains "another release" "Tests on Debian trixie skipped: only root can make a fresh Debian" out
    expect "no build of another release" "" "$(grep cmake calls)"
    attempt clone/test --release 13
    expect "no release's name" 2 "$status"

    printf '#!/bin/bash\necho "$*"\n' >clone/tests/releases/in_fresh_debian.sh
    attempt clone/test --release trixie --packages NAME
    expect "its build" "build/releases trixie --build dev --packages NAME" "$(cut -d ' ' -f 2- out)"
    attempt clone/test --build tsan --release trixie --units
    expect "another build of it" "build/releases trixie --build tsan --units" "$(cut -d ' ' -f 2- out)"
}

missingTools()
{
    fresh
    sed -i /cmake/d installed
    mv bin/apt-get hidden
    attempt clone/run
    mv hidden bin/apt-get
    expect "no apt-get" 1 "$status"
    oneLine "no apt-get"
    contains "no apt-get" "run: apt-get is missing; it is needed to install: cmake" err

    mv bin/sudo hidden
    attempt clone/run
    expect "no sudo" 1 "$status"
    oneLine "no sudo"
    contains "no sudo" "as root, run: apt-get install --no-install-recommends cmake" err

    fresh
    rmdir opt/camera
    attempt clone/run
    mv hidden bin/sudo
    expect "no sudo to install" 1 "$status"
    expect "no sudo to install, lines" 1 "$(wc -l <err)"
    contains "no sudo to install" "run: installing to $work/opt/camera needs root" err

    fresh
    sed -i /cmake/d installed
    mv bin/sudo hidden
    printf '#!/bin/bash\nexit 1\n' | stub sudo
    attempt clone/run
    mv hidden bin/sudo
    expect "refused by sudo" 1 "$status"
    oneLine "refused by sudo"
    expect "refused by sudo, asked once" "" "$(grep apt-get calls)"
}

brokenBuild()
{
    fresh
    echo 1 >build-status
    attempt clone/run
    expect "a broken build" 1 "$status"
    expect "nothing is installed then" "" "$(grep -e --install calls)"
    [[ ! -e environment ]] || complain "a broken build was started"
}

# the first command of the build fails
buildFolderIsAFile()
{
    fresh
    touch clone/build
    attempt clone/run
    expect "a file in the way" 1 "$status"
    oneLine "a file in the way"
    expect "a file in the way" "" "$(<calls)"
}

readOnly()
{
    local command
    for command in run test; do
        fresh
        chmod -R a-w clone
        attempt "clone/$command"
        expect "read-only, $command" 1 "$status"
        oneLine "read-only, $command"
        contains "read-only, $command" "$command: $work/clone cannot be written to" err
        expect "read-only, $command" "" "$(<calls)"
    done

    fresh
    attempt clone/run
    rm environment calls
    touch calls
    chmod -R a-w clone
    attempt clone/run
    expect "built and read-only" 0 "$status"
    [[ -e environment ]] || complain "a built read-only clone does not start: $(<err)"
    expect "built and read-only" "" "$(grep -e --build calls)"

    # and where nothing is installed, it is installed from there
    rm -rf opt environment
    mkdir -p opt/camera
    attempt clone/run
    [[ -e environment ]] || complain "a built read-only clone is not installed: $(<err)"

    attempt env -u DISPLAY clone/run
    expect "read-only without display" 0 "$status"
    namesOnlyWhatIsThere
}

namesOnlyWhatIsThere()
{
    local path
    grep -oE '/[^ ]+\.(jpg|pdf)' out >names || complain "no name: $(<out) $(<err)"
    while read -r path; do
        [[ -e $path ]] || complain "$path is named and not there"
    done <names
}

withoutDisplay()
{
    fresh
    attempt env -u DISPLAY clone/run
    expect "without display" 0 "$status"
    namesOnlyWhatIsThere
    expect "what is left" 0001.pdf "$(ls clone/out)"
}

uninstalls()
{
    fresh
    attempt clone/run --uninstall
    expect "nothing to uninstall" 1 "$status"
    oneLine "nothing to uninstall"

    attempt clone/run
    [[ -x opt/camera/bin/korvcam ]] || complain "not installed"
    mkdir opt/camera/lib
    touch opt/camera/lib/of-somebody-else
    echo 0 >owned
    attempt clone/run --uninstall
    expect "what packages own" 1 "$status"
    oneLine "what packages own"
    contains "what packages own" "apt remove" err
    [[ -x opt/camera/bin/korvcam ]] || complain "a package's file is gone"

    echo 1 >owned
    attempt clone/run --uninstall
    expect "uninstalling" 0 "$status"
    expect "what is left" "opt/camera/lib/of-somebody-else" "$(find opt -type f)"
    [[ ! -e opt/camera/bin ]] || complain "empty folders stay"
    contains "uninstalling" "of-somebody-else" out

    fresh
    attempt clone/run
    : >calls
    attempt clone/run --uninstall
    [[ ! -e opt/camera ]] || complain "the empty folder stays"
    expect "no build to uninstall" "" "$(<calls)"
}

startsAsTheMenuEntryDoes
secondWaits clone/run
secondWaits clone/test
windowKeepsNoLock
lockOfSomebodyElse
wrongRelease
newerRelease
oneBuild
unitsAlone
otherRelease
missingTools
brokenBuild
buildFolderIsAFile
readOnly
withoutDisplay
uninstalls
((failed == 0)) && echo passed
exit "$failed"
