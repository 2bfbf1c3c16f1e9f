# shellcheck shell=bash
# A clone that holds little else than ./run and ./test, and build tools that only write down their calls,
# for the tests of both. Sourced by them, with the sources' folder in $root.
# As an ordinary user throughout: root becomes one, because nothing is read-only to root.
set -euo pipefail

if [[ -z ${KORV_RUN_TEST_FOLDER:-} ]]; then
    KORV_RUN_TEST_FOLDER=$(mktemp -d "${TMPDIR:-/tmp}/korv-run-test.XXXXXX")
    export KORV_RUN_TEST_FOLDER
    trap 'chmod -R u+w -- "$KORV_RUN_TEST_FOLDER" && rm -rf -- "$KORV_RUN_TEST_FOLDER"' EXIT
    mkdir -p "$KORV_RUN_TEST_FOLDER/sources/tools" "$KORV_RUN_TEST_FOLDER/sources/tests"
    cp "$root"/{run,test} "$KORV_RUN_TEST_FOLDER/sources/"
    cp "$root"/tools/{packages,test_results,cross}.sh "$KORV_RUN_TEST_FOLDER/sources/tools/"
    cp "$root"/tests/{lsan,tsan}.supp "$KORV_RUN_TEST_FOLDER/sources/tests/"
    cp -R "$root"/tests/{packages,releases} "$KORV_RUN_TEST_FOLDER/sources/tests/"
    cp "$0" "${BASH_SOURCE[0]}" "$KORV_RUN_TEST_FOLDER/"
    user=()
    if ((EUID == 0)); then
        user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
        chown -R 65534:65534 "$KORV_RUN_TEST_FOLDER"
    fi
    chmod -R a+rX "$KORV_RUN_TEST_FOLDER"
    cd "$KORV_RUN_TEST_FOLDER"
    "${user[@]}" bash "$KORV_RUN_TEST_FOLDER/${0##*/}" "$KORV_RUN_TEST_FOLDER/sources"
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
