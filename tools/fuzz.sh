#!/bin/bash
# Looks for inputs that break the parts that read what others have written; usage() says how.
set -euo pipefail

usage()
{
    cat <<'TEXT'
Usage: tools/fuzz.sh [TARGET [SECONDS]]
Builds the fuzz targets below build/fuzz with clang (installing it when it is missing) and runs one
of them, or without TARGET all in turn, for SECONDS each (600).
Inputs that show something new are kept in build/fuzz/corpus/TARGET, those that break something in
build/fuzz/found/TARGET. The exit status is 0 when nothing broke.
TARGET is one of: jpeg image_loader raster jbig2 crop library_settings recognised_text
made_document camera_json settings preview escl_settings escl_http
TEXT
}

targets=(jpeg image_loader raster jbig2 crop library_settings recognised_text made_document
    camera_json settings preview escl_settings escl_http)
seconds=600
case ${1:-} in
    -h | --help) usage && exit ;;
    '') ;;
    *)
        [[ " ${targets[*]} " == *" $1 "* ]] || { usage >&2 && exit 2; }
        targets=("$1")
        seconds=${2:-$seconds}
        ;;
esac

cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
# shellcheck source=tools/packages.sh
source tools/packages.sh
installPackages "${kRunPackages[@]}" "${kFuzzPackages[@]}"
cmake --preset fuzz
cmake --build --preset fuzz

export ASAN_OPTIONS=detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# Two gigabytes of memory and half a minute are more than any of the small inputs may take.
fuzz()
{
    local target=$1 build=$PWD/build/fuzz dictionary
    local -a options=(-max_total_time="$seconds" -timeout=30 -rss_limit_mb=2560
        -malloc_limit_mb=1500 -print_final_stats=1) folders
    mapfile -t folders <"$build/tests/fuzz/$target.folders"
    for dictionary in "$target" jpeg; do
        [[ -f tests/fuzz/$dictionary.dict ]] || continue
        [[ $dictionary != jpeg || $target =~ ^(jpeg|image_loader|preview)$ ]] || continue
        options+=(-dict="tests/fuzz/$dictionary.dict")
        break
    done
    # a picture is drawn from every input; and what Qt and OpenCV keep is no leak, but looking for
    # one takes longer than the input itself
    [[ $target != crop ]] || options+=(-len_control=0 -max_len=120)
    [[ ! $target =~ ^(crop|settings)$ ]] || options+=(-detect_leaks=0)
    mkdir -p "$build/corpus/$target" "$build/found/$target" "$build/temporary"
    local -a existing=()
    local folder
    for folder in "${folders[@]}"; do
        [[ ! -d $folder ]] || existing+=("$folder")
    done
    TMPDIR=$build/temporary "$build/tests/fuzz/fuzz-$target" "${options[@]}" \
        -artifact_prefix="$build/found/$target/" "$build/corpus/$target" "${existing[@]}"
}

broken=()
for target in "${targets[@]}"; do
    printf '\n== %s, %s seconds\n' "$target" "$seconds"
    fuzz "$target" || broken+=("$target")
done
if ((${#broken[@]})); then
    printf '\nBroken: %s; see build/fuzz/found\n' "${broken[*]}" >&2
    exit 1
fi
