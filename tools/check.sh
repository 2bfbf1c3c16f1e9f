#!/bin/bash
# What a change must pass before it is shared: source checks first, then ./test.
# With --quick only the source checks, which take seconds.
set -euo pipefail
cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

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

check "file length" shortFiles
check "leftovers" noLeftovers
check "white space" cleanWhitespace
check "layers" python3 tools/check_layers.py
if command -v clang-format >/dev/null; then
    check "format" tools/format.sh --check
else
    report "format" "skipped: clang-format is not installed"
fi
if command -v shellcheck >/dev/null; then
    check "scripts" shellcheck -x -e SC2317 run test .ci/run scripts/package packaging/postrm \
        tools/check.sh tools/format.sh tools/fuzz.sh tests/kernel/*.sh \
        tests/packages/check_packages.sh tests/tools/test_korvcam_documents.sh
else
    report "scripts" "skipped: shellcheck is not installed"
fi

((failed == 0)) || exit 1
[[ ${1:-} == --quick ]] || exec ./test
