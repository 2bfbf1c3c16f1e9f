#!/bin/bash
# ./test as a whole script: what it builds and runs. Usage: test_test.sh ROOT
set -euo pipefail
root=$1
# shellcheck source=tests/tools/clone.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/clone.sh"

oneBuild()
{
    fresh
    attempt clone/test --build tsan
    expect "one build" 0 "$status"
    expect "one build" "cmake --preset tsan -B build/tsan" "$(grep -e --preset calls)"
    : >calls
    attempt env KORV_CMAKE_OPTIONS="-DONE=1 -DTWO=2" clone/test --build tsan
    expect "options of cmake" "cmake --preset tsan -B build/tsan -DONE=1 -DTWO=2" \
        "$(grep -e --preset calls)"
    attempt clone/test --build
    expect "no build's name" 2 "$status"
    attempt clone/test --build fast
    expect "a build that there is not" 2 "$status"
    contains "a build that there is not" "--build needs one of dev, asan, tsan" err
}

unitsAlone()
{
    fresh
    attempt clone/test --build dev
    expect "all tests" 0 "$(grep -c 'ctest .*-LE' calls)"
    # some tests become somebody else, whose sanitizer reads that list
    expect "rights" "drwx--x--x -rw-r--r-- drwx------ " "$(<rights)"
    : >calls
    attempt clone/test --build dev --units
    expect "units" 0 "$status"
    contains "units" "-LE ^(tools|e2e)$" calls
    fresh
    sed -i /weston/d installed
    attempt clone/test --build dev --units
    expect "packages of other tests" 0 "$(grep -c "apt-get.* weston" calls)"
    attempt clone/test --build dev
    expect "packages of all tests" 1 "$(grep -c '^apt-get install.* weston' calls)"
    attempt clone/test --architecture ARM
    expect "no architecture's name" 2 "$status"
    contains "no architecture's name" "--architecture needs the name of one of Debian's" err
}

# only root can make a fresh Debian, and these tests run as somebody else
otherRelease()
{
    fresh
    attempt clone/test --release trixie
    expect "another release" 0 "$status"
    contains "another release" "Tests on Debian trixie skipped: only root can make a fresh Debian" out
    expect "no build of another release" "" "$(grep cmake calls)"
    attempt clone/test --release 13
    expect "no release's name" 2 "$status"

    printf '#!/bin/bash\necho "$*"\n' >clone/tests/releases/in_fresh_debian.sh
    attempt clone/test --release trixie --packages NAME
    expect "its build" "build/releases trixie --build dev --packages NAME" "$(cut -d ' ' -f 2- out)"
    attempt clone/test --build tsan --release trixie --units
    expect "another build of it" "build/releases trixie --build tsan --units" "$(cut -d ' ' -f 2- out)"
}

oneBuild
unitsAlone
otherRelease
((failed == 0)) && echo passed
exit "$failed"
