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

# A program whose test is skipped, and which prints the lines of standard input: NAME
skipped()
{
    { echo '#!/bin/sh' && echo "cat <<'TEXT'" && cat && printf 'TEXT\nexit 77\n'; } >"$1"
    chmod +x "$1"
}

# runs the tests named, each a program; the status is in $status, what was summed up in the file summary
attempt()
{
    local program
    rm -rf Testing ./*.seen ./*.log*
    for program in "$@"; do
        printf 'add_test(%s "%s")\nset_tests_properties(%s PROPERTIES SKIP_RETURN_CODE 77)\n' \
            "${program##*/}" "$(type -P "$program")" "${program##*/}"
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

skipped unit <<'TEXT'
[ RUN      ] Disks.full
tests/disks.cpp:51: Skipped
no small disk can be mounted here
[  SKIPPED ] Disks.full (0 ms)
TEXT
cp unit unit_2
cp unit unit_3
cp unit unit_4
skipped script <<<"kernel tests skipped: no emulator"
skipped python <<<"setUpModule (test_wayland) ... skipped 'not installed: weston'"
skipped silent <<<"nothing of interest"

attempt unit true script python silent
[[ $status$summed == 00 ]] || complain "skipped tests failed: $(<printed)"
expected=$'The following tests were skipped:
\tno small disk can be mounted here
\t\tdev: unit
\tno emulator
\t\tdev: script
\tnot installed: weston
\t\tdev: python
\tno reason was given
\t\tdev: silent'
[[ $(<summary) == *"$expected" ]] || complain "skipped for what reason? $(<summary)"

# what is run once more does not take the reasons away
attempt script slow
[[ $status$summed == 00 ]] || complain "a late test beside a skipped one failed: $(<printed)"
grep -A 1 "no emulator" summary | grep -q "dev: script" || complain "no reason: $(<summary)"

# one line for the tests of one reason, whatever the build
attempt unit unit_2 unit_3 unit_4
[[ $(<summary) == *$'here\n\t\tdev: unit, unit_2 and 2 more' ]] || complain "long list: $(<summary)"
cp dev.log asan.log
cp dev.log.skipped asan.log.skipped
summarise "$work" dev asan >summary
[[ $(<summary) == *$'here\n\t\tdev: unit, unit_2 and 2 more\n\t\tasan: unit, unit_2 and 2 more' ]] ||
    complain "two builds: $(<summary)"
