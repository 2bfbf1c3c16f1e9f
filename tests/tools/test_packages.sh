#!/bin/bash
# The functions behind ./run and ./test, with a package manager that only writes down its calls.
set -euo pipefail
root=$1
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd "$work"
mkdir bin

cat >bin/dpkg-query <<'SHIM'
#!/bin/bash
printf 'alpha:here installed\nbeta:here config-files\nshared:all installed\nalien:there installed\n'
exit 1
SHIM
printf '#!/bin/bash\necho here\n' >bin/dpkg
cat >bin/apt-cache <<'SHIM'
#!/bin/bash
printf 'Package: alpha-dev\nMulti-Arch: same\n\nPackage: alpha\nMulti-Arch: same\n\n'
printf 'Package: headers-dev\nMulti-Arch: foreign\n'
SHIM
for name in sudo apt-get; do
    printf '#!/bin/bash\nprintf "%%s\\n" "%s $*" >>"%s/calls"\n' "$name" "$work" >"bin/$name"
done
# sudo goes on to what it was asked to run; -v only asks for the password
# shellcheck disable=SC2016
echo '[[ $1 == -v ]] || exec "$@"' >>bin/sudo
chmod +x bin/*
PATH=$work/bin:$PATH

# shellcheck source=../../tools/packages.sh
source "$root/tools/packages.sh"
# shellcheck source=../../tools/cross.sh
source "$root/tools/cross.sh"
useUtf8

expect()
{
    [[ $2 == "$3" ]] && return
    printf '%s\n  expected: %s\n  got:      %s\n' "$1" "$2" "$3" >&2
    exit 1
}

expect "an unknown and a removed package are missing" $'beta|b\ngamma|g' \
    "$(missingPackages "alpha|a" "beta|b" "gamma|g")"

expect "of which architecture a package is" $'alpha:there|a\nalien|a' \
    "$(missingPackages "alpha|a" "alpha:there|a" "shared|s" "alien:there|a" "alien|a")"

expect "libraries of the other architecture, tools of this one" \
    $'crossbuild-essential-there|the C++ compiler for there\nalpha-dev:there|a\nalpha|b\nheaders-dev|c' \
    "$(crossEntries there "g++|a compiler" "alpha-dev|a" "alpha|b" "headers-dev|c")"

printf '#!/bin/bash\n[[ $2 == ppc64el ]] && echo powerpc64le || echo aarch64\n' >bin/dpkg-architecture
chmod +x bin/dpkg-architecture
expect "the emulator's name of a processor" ppc64le "$(emulatedCpu ppc64el)"
expect "a name that both have in common" aarch64 "$(emulatedCpu arm64)"

expect "nothing missing, nothing said" "" "$(installPackages "alpha|a")"
[[ ! -e calls ]]

text=$(installPackages "alpha|a" "beta|why beta")
grep -q "beta .*why beta" <<<"$text"
if grep -q alpha <<<"$text"; then exit 1; fi
grep -q "apt-get install .*--no-install-recommends beta$" calls

mkdir -p build
echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >build/CMakeCache.txt
dropForeignBuild build
[[ -d build ]]
echo "CMAKE_HOME_DIRECTORY:INTERNAL=/elsewhere" >build/CMakeCache.txt
dropForeignBuild build
[[ ! -e build ]]

(export LC_ALL=C && useUtf8 && expect "UTF-8 instead of C" C.UTF-8 "$LC_ALL")
(unset LC_ALL LC_CTYPE && export LC_CTYPE=POSIX LANG=C && useUtf8 && expect "LC_CTYPE" C.UTF-8 "$LC_CTYPE")
(export LC_ALL=C.UTF-8 && unset LC_CTYPE && useUtf8 && expect "left alone" "" "${LC_CTYPE:-}")
for folder in "plain folder" "it's (1) 文件" 'quote"d' 'dollar$' 'semi;colon' 'back\slash' 'ha#sh'; do
    mkdir -p "$folder"/{.ci,tools,build,out}
    touch "$folder/"{.clang-format,run}
    mirrored=$(cd "$folder" && HOME=$work/home && leaveAwkwardFolder >/dev/null && pwd)
    case $folder in
        plain* | it*) expect "stays in $folder" "$work/$folder" "$mirrored" ;;
        *)
            expect "mirrors $folder" "$work/home/.cache/vexalin-camera" "${mirrored%/*}"
            [[ -e $mirrored/run && -d $mirrored/.ci && ! -e $mirrored/build ]]
            ;;
    esac
done

expect "ten lines of help" 10 "$("$root/run" --help | wc -l)"
"$root/test" --help | grep -q "^Usage: ./test"
for command in run test scripts/package; do
    status=0
    "$root/$command" --nonsense 2>/dev/null || status=$?
    expect "unknown argument of $command" 2 "$status"
done
echo passed
