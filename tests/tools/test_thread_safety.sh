#!/bin/bash
# clang's lock analysis sees our locks: it passes good code and refuses each kind of bad code.
# Usage: test_thread_safety.sh ROOT     status 77: no clang here (skipped)
set -euo pipefail
cd "$1"
command -v clang++ >/dev/null || { echo "skipped: clang++ is not installed" && exit 77; }

# analyse [-DCASE]
analyse()
{
    clang++ -std=c++17 -fsyntax-only -I. -Wthread-safety -Werror=thread-safety "$@" \
        tests/tools/unguarded.cpp
}

analyse
failed=0
for case in WITHOUT_MUTEX WITHOUT_SPIN_LOCK LOCKED_TWICE IN_THE_GAP; do
    if text=$(analyse "-D$case" 2>&1); then
        echo "$case is not refused" >&2
        failed=1
    elif ! grep -q 'Wthread-safety-analysis' <<<"$text"; then
        echo "$case is refused for another reason: $text" >&2
        failed=1
    fi
done
# .ci/run looks for these through clang-tidy, whose checks have to let the compiler's finding pass
if command -v clang-tidy >/dev/null &&
    clang-tidy --quiet tests/tools/unguarded.cpp -- -std=c++17 -I. -Wthread-safety -DWITHOUT_MUTEX \
        >/dev/null 2>&1; then
    echo "clang-tidy lets an unguarded member pass" >&2
    failed=1
fi
((failed == 0)) && echo passed
exit "$failed"
