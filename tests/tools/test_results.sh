#!/bin/bash
# What ./test makes of ctest's results, with the real ctest and tests made for it.
set -euo pipefail
root=$1
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd "$work"
# shellcheck source=tools/test_results.sh
source "$root/tools/test_results.sh"

complain()
{
    printf '%s\n' "$*" >&2
    exit 1
}

# A program that fails the first time, and says $2 then: NAME [TEXT]
late()
{
    printf '#!/bin/sh\ntest -e "%s" || { touch "%s"; echo "%s"; exit 1; }\n' \
        "$work/$1.seen" "$work/$1.seen" "${2:-}" >"$1"
    chmod +x "$1"
}

# runs the tests named, each a program; the status is in $status, what was summed up in the file summary
attempt()
{
    local program
    rm -rf Testing ./*.seen ./*.log*
    for program in "$@"; do
        printf 'add_test(%s "%s")\n' "${program##*/}" "$(type -P "$program")"
    done >CTestTestfile.cmake
    status=0
    runTests "$work/dev.log" ctest --output-on-failure -j 4 >printed || status=$?
    summed=0
    summarise "$work" dev >summary || summed=$?
}

PATH=$work:$PATH
late slow "the picture came late"
late slower
late slowest
late slowest_of_all
late racing "WARNING: ThreadSanitizer: data race"

attempt true
[[ $status$summed == 00 ]] || complain "a passing test failed: $(<printed)"
! grep -q "once more" printed || complain "a passing test ran twice"

attempt true slow
[[ $status$summed == 00 ]] || complain "a late test failed: $(<printed)"
grep -q "^100% tests passed, 0 tests failed out of 2$" summary || complain "summary: $(<summary)"
grep -A 1 "passed only alone, when run again:" summary | grep -q "dev: 2 - slow" ||
    complain "nobody learns of the late test: $(<summary)"

attempt true false
[[ $status != 0 && $summed != 0 ]] || complain "a failing test passed: $(<printed)"
grep -q "^50% tests passed, 1 tests failed out of 2$" summary || complain "summary: $(<summary)"
grep -A 1 "FAILED:" summary | grep -q "dev: 2 - false" || complain "summary: $(<summary)"

attempt slow false
[[ $status != 0 && $summed != 0 ]] || complain "a failing test passed beside a late one: $(<printed)"

attempt racing
[[ $status != 0 && $summed != 0 ]] || complain "a finding of a sanitizer was excused: $(<printed)"
! grep -q "once more" printed || complain "a finding of a sanitizer was tried again"

attempt slow slower slowest slowest_of_all
[[ $status != 0 && $summed != 0 ]] || complain "many late tests were excused: $(<printed)"
