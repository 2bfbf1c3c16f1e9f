#!/bin/bash
# The manual pages of korvcam and its completions in bash, zsh and fish know every command and
# option of the program, and no others. Usage: test_korvcam_documents.sh ROOT KORVCAM LIBRARY
set -euo pipefail
root=$1 korvcam=$2 library=$3
export LC_ALL=C # the help is read
failed=0
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd "$work"

complain()
{
    echo "$*" >&2
    failed=1
}

# completions LINE...: what is offered for the last word
completions()
{
    COMP_WORDS=("$korvcam" "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _korvcam
    printf '%s\n' "${COMPREPLY[@]}"
}

expect()
{
    [[ $2 == "$3" ]] || complain "$1: expected '$2', got '$3'"
}

# outside a real completion it only complains
compopt() { :; }
# shellcheck source=packaging/completions/korvcam
source "$root/packaging/completions/korvcam"

# zshOptions COMMAND: what zsh's completion offers for it besides what all commands have
zshOptions()
{
    # shellcheck disable=SC2016 # for the other shell
    zsh -f -c 'source "$1" && _korvcam_options "$2" && print -rl -- $_korvcam_common $reply' \
        zsh "$root/packaging/completions/korvcam.zsh" "$1" |
        sed -nE 's/^(\([^)]*\))?(--?[a-z]+(-[a-z]+)*)\[.*/\2/p' | sort -u
}

# fishCompletions LINE: what fish offers for the end of a command line, without the descriptions
fishCompletions()
{
    # shellcheck disable=SC2016 # for the other shell
    HOME=$work fish --no-config -c 'source $argv[1]; complete -C $argv[2]' \
        "$root/packaging/completions/korvcam.fish" "$1" | cut -f 1 | sort -u
}

optionsIn()
{
    grep -oE -- '(^|[ ,])(--?[a-z]+(-[a-z]+)*)' | grep -oE -- '--?[a-z]+(-[a-z]+)*' | sort -u
}

mapfile -t commands < <("$korvcam" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
((${#commands[@]} >= 7)) || complain "no commands found in the help"
expect "commands" "$(printf '%s\n' "${commands[@]}" | sort)" \
    "$(completions "" | grep -v '^-' | sort)"
# shellcheck disable=SC2016 # for the other shell
expect "commands in zsh" "$(printf '%s\n' "${commands[@]}" | sort)" \
    "$(zsh -f -c 'source "$1"; print -rl -- ${_korvcam_commands%%:*}' \
        zsh "$root/packaging/completions/korvcam.zsh" | sort)"
expect "commands in fish" "$(printf '%s\n' "${commands[@]}" | sort)" "$(fishCompletions "korvcam ")"
expect "one command" snap "$(completions sn)"
expect "command behind a camera" snap "$(completions -d 0 sn)"

# entryOf OPTION: what the manual page's text on standard input says about it
entryOf()
{
    awk -v option="$1" '
        /^\.(TP|PP|SS|SH)/ { within = 0 }
        index($0, option) && !within { within = 1 }
        within'
}

# help of the whole, then of each command, which lists its own options only
common=$("$korvcam" --help | sed -n '/^Options:/,/^$/p' | optionsIn)
for command in "${commands[@]}"; do
    own=$("$korvcam" "$command" --help | sed -n '/^Options:/,/^$/p' | optionsIn)
    expect "options of $command" "$(printf '%s\n' "$common" "$own" | grep -vx -e --version | sort -u)" \
        "$(completions "$command" - | sort -u)"
    expect "options of $command in zsh" "$(completions "$command" - | sort -u)" \
        "$(zshOptions "$command")"
    expect "options of $command in fish" "$(completions "$command" - | sort -u)" \
        "$(fishCompletions "korvcam $command -")"
    for page in "$root"/packaging/man/korvcam{,.zh_CN}.1; do
        text=$(sed 's/\\-/-/g' "$page" | awk -v name="$command" '
            $1 == ".SS" { within = $2 == name }
            $1 == ".SH" { within = $2 == "OPTIONS" || $2 == "选项" }
            within')
        grep -q "^\.SS $command" "$page" || complain "$page: no command $command"
        for option in $own; do
            grep -qE -- "(^|[^-a-z])$option([^-a-z]|\$)" <<<"$text" ||
                complain "$page: $command has $option"
        done
        # words differ between the languages, numbers do not
        while read -r option default; do
            entryOf "$option" <<<"$text" | grep -qE "(^|[^0-9])$default([^0-9]|\$)" ||
                complain "$page: $command $option is $default without it"
        done < <("$korvcam" "$command" --help |
            sed -nE 's/^  (-[a-z],)?(--[a-z-]+) .*\(default: ([0-9]+)\)$/\2 \3/p')
    done
done

for page in "$root"/packaging/man/korvcam{,.zh_CN}.1; do
    for status in $("$korvcam" --help | sed -n '/^Exit status/,/`/p' | grep -oE '[0-9]+'); do
        grep -qx "\.B $status" "$page" || complain "$page: no exit status $status"
    done
done

expect "choices" gray "$(completions snap --color g)"
expect "camera of the desk" 0 "$(completions --library "$library" --desk builtin snap -d "")"
expect "page sizes" letter "$(completions combine --page-size l)"
expect "no value to offer" "" "$(completions snap --interval "")"
touch "picture of a page.png"
expect "files" "picture of a page.png" "$(completions convert pic)"

# choices of COMMAND OPTION, as the help has them
for choice in "snap --color" "snap --rotate" "scan --on" "snap --format" "combine --format"; do
    read -r command option <<<"$choice"
    choices=$("$korvcam" "$command" --help | sed -nE "s/^  $option ([^ ]*)( .*)?\$/\1/p" | tr '|' '\n' | sort)
    [[ $choices == *$'\n'* ]] || complain "no choices of $choice in the help"
    expect "choices of $choice in fish" "$choices" "$(fishCompletions "korvcam $choice ")"
    # shellcheck disable=SC2016 # for the other shell
    expect "choices of $choice in zsh" "$choices" "$(zsh -f -c \
        'source "$1"; _korvcam_options "$2"; print -rl -- ${(M)reply:#$3\[*}' \
        zsh "$root/packaging/completions/korvcam.zsh" "$command" "$option" |
        sed -E 's/.*:\((.*)\)$/\1/' | tr ' ' '\n' | sort)"
done
expect "camera of the desk in fish" 0 \
    "$(fishCompletions "$korvcam --library $library --desk builtin snap -d ")"
expect "files in fish" "picture of a page.png" "$(fishCompletions "korvcam convert pic")"
((failed == 0)) && echo passed
exit "$failed"
