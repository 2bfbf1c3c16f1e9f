#!/bin/bash
# Formats our C++ sources in place; with --check only tells whether any would change.
set -euo pipefail
cd -P -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

mode=(-i)
if [[ ${1:-} == --check ]]; then
    mode=(--dry-run --Werror)
fi
find app bench camera cli library settings tests util \
    \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print0 |
    xargs -0 -r clang-format "${mode[@]}"
