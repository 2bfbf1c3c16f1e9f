# shellcheck shell=bash
# Runs ctest and sums up what it printed. Sourced by ./test.

# More failures than these are no matter of the moment.
readonly kMaxUnsteady=3

# runTests LOG COMMAND ...: runs the ctest command and writes what it prints to LOG as well. The tests
# start real programs that have to be in time; on a machine that stands still for a second one of
# thousands is late. So the few that failed run once more, alone, and those that pass then are listed
# as unsteady. What a sanitizer has found is never excused. Which tests were skipped, and why, goes to
# LOG.skipped.
runTests()
{
    local log=$1 status=0
    shift
    "$@" </dev/null 2>&1 | tee "$log" || status=$?
    skippedTests "$log" >"$log.skipped"
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

# skippedTests LOG: each skipped test, a tab, and the reason that it printed. Only ctest's own log has
# what such a test printed, and the next run overwrites that.
skippedTests()
{
    local printed
    printed=$(sed -n 's/^Test project //p' "$1" | head -n 1)/Testing/Temporary/LastTest.log
    [[ -r $printed ]] || printed=/dev/null
    awk '
        # GoogleTest names the reason in the next line, unittest in quotes, scripts after a colon
        FNR == 1 { test = ""; isNext = 0 }
        /^[0-9]+\/[0-9]+ Testing: / { test = $0; sub(/^[^:]*: /, "", test); isNext = 0 }
        test in reasons { next }
        isNext && NF { reasons[test] = $0 }
        /: Skipped$/ { isNext = 1 }
        / \.\.\. skipped ..+.$/ { sub(/.* \.\.\. skipped ./, ""); sub(/.$/, ""); reasons[test] = $0 }
        /(^|tests )skipped: ./ { sub(/.*skipped: /, ""); reasons[test] = $0 }
        /^\t *[0-9]+ - .* \(Skipped\)/ {
            sub(/^\t *[0-9]+ - /, "")
            sub(/ \(Skipped\).*/, "")
            print $0 "\t" ($0 in reasons ? reasons[$0] : "no reason was given")
        }' "$printed" "$1"
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

# summariseSkipped FOLDER PRESETS ...: the skipped tests, of each build a line below their reason.
summariseSkipped()
{
    local folder=$1 preset
    shift
    for preset in "$@"; do
        [[ ! -e $folder/$preset.log.skipped ]] || sed "s/^/$preset\t/" "$folder/$preset.log.skipped"
    done | awk -F '\t' '
        {
            line = $3 FS $1
            if (!($3 in lines)) reasons[++reasonCount] = $3
            if (!(line in tests)) lines[$3] = lines[$3] SUBSEP $1
            tests[line]++
            if (tests[line] <= 2) names[line] = names[line] (tests[line] > 1 ? ", " : "") $2
        }
        END {
            if (reasonCount) print "\nThe following tests were skipped:"
            for (i = 1; i <= reasonCount; i++) {
                print "\t" reasons[i]
                buildCount = split(substr(lines[reasons[i]], 2), builds, SUBSEP)
                for (j = 1; j <= buildCount; j++) {
                    line = reasons[i] FS builds[j]
                    others = tests[line] > 2 ? " and " tests[line] - 2 " more" : ""
                    print "\t\t" builds[j] ": " names[line] others
                }
            }
        }'
}

# summarise FOLDER PRESETS ...: one summary over the logs FOLDER/PRESET.log, in ctest's own form, but
# the skipped tests with their reasons. Status 1 when a test failed or none ran.
summarise()
{
    local folder=$1 preset status=0
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
        / \(Skipped\)/ { next }
        /^[a-z]+: \t *[0-9]+ - / { list[kind] = list[kind] "\n\t" $0; gsub(/: \t */, ": ", list[kind]) }
        END {
            printf "\n%d%% tests passed, %d tests failed out of %d\n",
                total ? int((total - failed) * 100 / total) : 0, failed, total
            printf "\nTotal Test time (real) = %.2f sec\n", seconds
            for (kind in list) printf "\nThe following tests %s:%s\n", kind, list[kind]
            exit total == 0 || failed > 0
        }' || status=$?
    summariseSkipped "$folder" "$@"
    return "$status"
}
