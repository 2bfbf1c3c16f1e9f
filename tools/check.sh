#!/bin/bash
# What a change must pass before it is shared; usage() says how.
set -euo pipefail

usage()
{
    cat <<'TEXT'
Usage: tools/check.sh [--quick | --checks]
Checks the sources, then runs ./test. The exit status is 0 only when everything passed.
  --quick    only the checks that take seconds; those whose tool is not installed are skipped
  --checks   all checks, without ./test: also clang's lock analysis and clang-tidy, which take some
             minutes; installs what they need
  --help     this text
TEXT
}

mode=all
case ${1:-} in
    '') ;;
    --quick | --checks) mode=${1#--} ;;
    -h | --help) usage && exit ;;
    *) echo "check.sh: unknown argument '$1'; tools/check.sh --help explains" >&2 && exit 2 ;;
esac

cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/packages.sh
source tools/packages.sh
[[ $mode == quick ]] || installPackages "${kRunPackages[@]}" "${kCheckPackages[@]}"

failed=0
report()
{
    printf '%-20s %s\n' "$1" "$2"
    [[ $2 != FAILED ]] || failed=1
}

check()
{
    local title=$1
    shift
    if "$@"; then
        report "$title" passed
    else
        report "$title" FAILED
    fi
}

sources()
{
    find app bench camera cli cmake library packaging scripts settings tests tools ui util run test .ci \
        -type f \
        \( -name '*.cpp' -o -name '*.h' -o -name '*.c' -o -name '*.py' -o -name '*.sh' \
        -o -name '*.cmake' -o -name CMakeLists.txt -o -name run -o -name test -o -name package \) -print0
}

shortFiles()
{
    ! sources | xargs -0 wc -l | awk '$2 != "total" && $1 > 600' | grep .
}

# notes to oneself belong into the tracker
noLeftovers()
{
    ! sources | xargs -0 grep -nE '\b(FIX''ME|XX''X|HA''CK|TO''DO)\b' | grep .
}

cleanWhitespace()
{
    ! sources | xargs -0 grep -nE $'[ \t]+$|\r|^ *\t' | grep .
}

# checkWith TOOL TITLE COMMAND ...: a check with a tool that may be missing in a quick check only
checkWith()
{
    local tool=$1 title=$2
    shift
    if [[ $mode == quick ]] && ! command -v "$tool" >/dev/null; then
        report "$title" "skipped: $tool is not installed"
    else
        check "$@"
    fi
}

# clang-tidy compiles every file but the tests' as the preset says, so that clang also refuses a member
# that names its lock (GUARDED_BY) and is used without it. Only the window's headers have to be
# generated for that.
tidyAndLocks()
{
    local log=build/clang-thread-safety/check.log
    dropForeignBuild build/clang-thread-safety
    mkdir -p "${log%/*}"
    { cmake --preset clang-thread-safety &&
        cmake --build --preset clang-thread-safety --target korv_ui; } \
        >"$log" 2>&1 || { cat "$log" >&2 && return 1; }
    tools/tidy.sh build/clang-thread-safety
}

check "file length" shortFiles
check "leftovers" noLeftovers
check "white space" cleanWhitespace
check "layers" python3 tools/check_layers.py
checkWith clang-format "format" tools/format.sh --check
checkWith shellcheck "scripts" shellcheck -x -e SC2317 run test .ci/run scripts/package \
    packaging/postrm tools/check.sh tools/format.sh tools/fuzz.sh tools/scan_clients.sh tools/tidy.sh \
    tests/kernel/*.sh \
    tests/packages/check_packages.sh tests/releases/in_fresh_debian.sh \
    tests/tools/test_korvcam_documents.sh \
    tests/tools/test_check.sh tests/tools/test_results.sh tests/tools/test_run.sh \
    tests/tools/test_test.sh tests/tools/test_thread_safety.sh
if [[ $mode != quick ]]; then
    lockBuilds
    check "clang-tidy, locks" tidyAndLocks
    unlockBuilds
fi

((failed == 0)) || exit 1
[[ $mode != all ]] || exec ./test
