#!/bin/bash
# Runs clang-tidy, as .clang-tidy says, over everything that a build with clang compiles.
# Usage: tools/tidy.sh BUILD      BUILD: that build's folder
set -euo pipefail
build=$(cd -- "$1" && pwd)
cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

# what the build generates (moc, rcc) is not ours
python3 - "$build" "$PWD" >"$build/tidy-sources" <<'PYTHON'
import json
import pathlib
import sys

build, root = map(pathlib.Path, sys.argv[1:])
commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
for source in sorted({pathlib.Path(command["file"]) for command in commands}):
    if root in source.parents and build not in source.parents and source.suffix == ".cpp":
        print(source)
PYTHON
[[ -s $build/tidy-sources ]] || { echo "tidy.sh: $build compiles no sources of $PWD" >&2 && exit 1; }
# our headers, not those that the build generates
# shellcheck disable=SC2001
root=$(sed 's/[.+()]/\\&/g' <<<"$PWD")
headers="^$root/(\\./)?(app|camera|cli|library|settings|ui|util)/"
# how many remarks it left out goes to standard error
tr '\n' '\0' <"$build/tidy-sources" |
    xargs -0 -P "$(nproc)" -n 4 clang-tidy -p "$build" --header-filter="$headers" --quiet \
        2>"$build/tidy.log" || { grep -E '^Error|error:' "$build/tidy.log" >&2; exit 1; }
