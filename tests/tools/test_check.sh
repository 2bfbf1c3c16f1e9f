#!/bin/bash
# tools/check.sh refuses what it is there to refuse, and .ci/run runs all of it before ./test: in a
# clone with one source file, with tools that only write down their calls. Usage: test_check.sh ROOT
# shellcheck disable=SC2016
# the stubs expand their own variables
set -euo pipefail
root=$1
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd "$work"
unset KORV_BUILDS_LOCKED
export work
mkdir bin
for tool in bash sh env cat cp rm mv mkdir chmod touch seq find grep sed awk wc xargs sort tr head dirname flock nproc \
    cut cksum mktemp rmdir; do
    path=$(type -P "$tool") || continue
    ln -s "$path" "bin/$tool"
done

stub()
{
    printf '#!/bin/bash\n%s\n' "$2" >"bin/$1"
    chmod +x "bin/$1"
}
stub python3 "exec '$(python3 -c 'import sys; print(sys.executable)')' \"\$@\""
# every package is installed
stub dpkg-query 'for word in "$@"; do echo "$word installed"; done'
# a tool fails when there is a file with its name
for tool in clang-format shellcheck clang-tidy; do
    stub "$tool" "echo $tool >>\"\$work/calls\"; [[ ! -e \$work/fail-$tool ]]"
done
stub cmake 'echo "cmake $*" >>"$work/calls"
[[ $1 != --preset ]] || echo "[{\"file\": \"$PWD/app/a.cpp\"}]" >build/$2/compile_commands.json
[[ ! -e $work/fail-cmake ]]'
PATH=$work/bin

fresh()
{
    rm -rf clone calls fail-*
    mkdir -p clone/{.ci,scripts,tests,run.d} clone/{app,bench,camera,cli,cmake,library,packaging,settings,ui,util}
    cp -R "$root/tools" clone/
    cp "$root/.ci/run" clone/.ci/
    echo 'int answer();' >clone/app/a.h
    echo '#include "app/a.h"' >clone/app/a.cpp
    printf '#!/bin/bash\necho "test $*" >>"$work/calls"\n' >clone/test
    touch clone/run calls
    chmod +x clone/test
}

failed=0
complain()
{
    echo "$*" >&2
    failed=1
}

# attempt COMMAND ...: its output in log, its exit status in status
attempt()
{
    status=0
    "$@" >log 2>&1 || status=$?
}

# refuses WHAT TITLE: after a change of the clone
refuses()
{
    attempt clone/.ci/run
    ((status != 0)) || complain "$1: passed"
    grep -q "^$2 .*FAILED" log || complain "$1: not reported: $(<log)"
    ! grep -q '^test' calls || complain "$1: tested all the same"
    [[ $2 == clang-tidy* ]] && return
    attempt clone/tools/check.sh --quick
    ((status != 0)) || complain "$1: passed the quick check"
}

fresh
attempt clone/.ci/run e2e
((status == 0)) || complain "a clean clone is refused: $(<log)"
for call in clang-format shellcheck clang-tidy "cmake --build --preset clang-thread-safety --target korv_ui" \
    "test --kernel --packages e2e"; do
    grep -qxF -- "$call" calls || complain "no call of $call: $(<calls)"
done

fresh && seq 700 >clone/app/long.cpp && refuses "a long file" "file length"
fresh && echo "// TO""DO" >clone/app/b.cpp && refuses "a note to oneself" leftovers
fresh && echo "int a; " >clone/app/b.cpp && refuses "a blank at the end" "white space"
fresh && echo '#include "cli/b.h"' >clone/app/b.cpp && refuses "a wrong include" layers
fresh && touch fail-clang-format && refuses "another layout" format
fresh && touch fail-shellcheck && refuses "a bad script" scripts
fresh && touch fail-cmake && refuses "a build that cannot be set up" "clang-tidy, locks"
fresh && touch fail-clang-tidy && refuses "a usual mistake or an unguarded member" "clang-tidy, locks"

fresh
attempt clone/.ci/run
((status == 0)) || complain "a clean clone is refused: $(<log)"
[[ $(<calls) == *"test --kernel --packages"*"test --release trixie --units" ]] ||
    complain "no other release: $(<calls)"
fresh
printf '#!/bin/bash\n[[ $1 != --kernel ]]\n' >clone/test
attempt clone/.ci/run
((status != 0)) || complain "passed with tests that fail"
printf '#!/bin/bash\n[[ $1 != --release ]]\n' >clone/test
attempt clone/.ci/run
((status != 0)) || complain "passed with tests that fail on another release"

# a missing tool is no excuse but for a quick check
mv bin/clang-format hidden
fresh
attempt clone/.ci/run
((status != 0)) || complain "passed without clang-format"
attempt clone/tools/check.sh --quick
((status == 0)) || complain "the quick check needs clang-format: $(<log)"
grep -q "^format .*skipped" log || complain "not reported as skipped"

attempt clone/tools/check.sh --nonsense
((status == 2)) || complain "an unknown option: $status"
((failed == 0)) && echo passed
exit "$failed"
