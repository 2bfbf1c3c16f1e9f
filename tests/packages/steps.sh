# shellcheck shell=bash disable=SC2154
# Steps of a check with their times. Sourced; $work is the check's folder.

steps=0
stepStatus=0

# measure TITLE WORD COMMAND ...: runs it and prints its time, and WORD when it fails. Its status is
# in stepStatus: bash would ignore set -e within whatever stands in a condition.
measure()
{
    local title=$1 word=$2 begin=$EPOCHREALTIME
    shift 2
    steps=$((steps + 1))
    set +e
    (set -euo pipefail && "$@") >"$work/logs/step-$steps.log" 2>&1
    stepStatus=$?
    set -e
    local seconds
    seconds=$(awk -v begin="$begin" -v end="$EPOCHREALTIME" 'BEGIN { printf "%.1f", end - begin }')
    printf '  %-28s %6s s%s\n' "$title" "$seconds" "$( ((stepStatus == 0)) || echo ", $word")" |
        tee -a "$work/report"
}

# step TITLE COMMAND ...: the same; its output is shown only when it fails, which ends the check
step()
{
    measure "$1" FAILED "${@:2}"
    ((stepStatus == 0)) || { cat "$work/logs/step-$steps.log" >&2 && exit 1; }
}

fail()
{
    echo "package test: $*" >&2
    return 1
}
