#!/bin/bash
# ./run as a whole script, and what ./test has in common with it. Usage: test_run.sh ROOT
set -euo pipefail
root=$1
# shellcheck source=tests/tools/clone.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/clone.sh"

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
missingTools
brokenBuild
buildFolderIsAFile
readOnly
withoutDisplay
uninstalls
((failed == 0)) && echo passed
exit "$failed"
