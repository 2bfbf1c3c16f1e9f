# shellcheck shell=bash
# Runs ctest and sums up what it printed. Sourced by ./test.

# More failures than these are no matter of the moment.
readonly kMaxUnsteady=3

# runTests LOG COMMAND ...: runs the ctest command and writes what it prints to LOG as well. The tests
# start real programs that have to be in time; on a machine that stands still for a second one of
# thousands is late. So the few that failed run once more, alone, and those that pass then are listed
# as unsteady. What a sanitizer has found is never excused.
runTests()
{
    local log=$1 status=0
    shift
    "$@" </dev/null 2>&1 | tee "$log" || status=$?
    if ((status)) && mayBeUnsteady "$log"; then
        printf '\n== once more, alone: what failed\n'
        if "$@" --rerun-failed -j 1 </dev/null 2>&1 | tee "$log.again" && allPassed "$log.again"; then
            sed -i -e 's/^[0-9]*% tests passed, [0-9]* tests\{0,1\} failed/100% tests passed, 0 tests failed/' \
                -e 's/^\(The following tests\) FAILED:/\1 passed only alone, when run again:/' "$log"
            status=0
        fi
    fi
    return "$status"
}

allPassed()
{
    grep -q '^100% tests passed, 0 tests failed out of [1-9]' "$1"
}

mayBeUnsteady()
{
    local failed
    failed=$(sed -n 's/^[0-9]*% tests passed, \([0-9]*\) tests\{0,1\} failed.*/\1/p' "$1")
    [[ -n $failed ]] && ((failed > 0 && failed <= kMaxUnsteady)) &&
        ! grep -qE 'ERROR: (Address|Leak)Sanitizer|WARNING: ThreadSanitizer|runtime error:' "$1"
}

# summarise FOLDER PRESETS ...: one summary over the logs FOLDER/PRESET.log, in ctest's own form.
# Status 1 when a test failed or none ran.
summarise()
{
    local folder=$1 preset
    shift
    for preset in "$@"; do
        sed "s/^/$preset: /" "$folder/$preset.log"
    done | awk '
        / tests passed, [0-9]+ tests? failed out of / {
            for (i = 1; i < NF; i++) if ($i == "passed,") failed += $(i + 1)
            total += $NF
        }
        / Total Test time / { seconds += $(NF - 1) }
        / The following tests / {
            kind = / FAILED:$/ ? "FAILED" : / passed only / ? "passed only alone, when run again" : "not run"
        }
        /^[a-z]+: \t *[0-9]+ - / { list[kind] = list[kind] "\n\t" $0; gsub(/: \t */, ": ", list[kind]) }
        END {
            printf "\n%d%% tests passed, %d tests failed out of %d\n",
                total ? int((total - failed) * 100 / total) : 0, failed, total
            printf "\nTotal Test time (real) = %.2f sec\n", seconds
            for (kind in list) printf "\nThe following tests %s:%s\n", kind, list[kind]
            exit total == 0 || failed > 0
        }'
}
