# shellcheck shell=bash disable=SC2154
# Steps of a check with their times. Sourced; $work is the check's folder.

steps=0

# step TITLE COMMAND ...: runs it; its output is shown only when it fails, which ends the check
step()
{
    local title=$1 begin=$EPOCHREALTIME log
    shift
    steps=$((steps + 1))
    log=$work/logs/step-$steps.log
    # not as a condition, where bash ignores set -e within
    set +e
    (set -euo pipefail && "$@") >"$log" 2>&1
    local status=$?
    set -e
    local seconds
    seconds=$(awk -v begin="$begin" -v end="$EPOCHREALTIME" 'BEGIN { printf "%.1f", end - begin }')
    printf '  %-28s %6s s%s\n' "$title" "$seconds" "$( ((status == 0)) || echo ', FAILED')" |
        tee -a "$work/report"
    ((status == 0)) || { cat "$log" >&2 && exit 1; }
}

fail()
{
    echo "package test: $*" >&2
    return 1
}
