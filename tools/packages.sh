# shellcheck shell=bash disable=SC2034
# Debian packages of the project, each with its reason, and their installation; the releases they
# come from; the folder that is built in.
# Sourced by ./run, ./test and other scripts; needs nothing that a minimal Debian lacks.

# Prints the number of this release of Debian; nothing on any other system.
debianRelease()
{
    # shellcheck disable=SC1091
    (. /etc/os-release 2>/dev/null && [[ ${ID:-} == debian ]] && echo "${VERSION_ID:-}") || true
}

readonly kReleases=(12 13)
# the clang of this release, which is part of a package's name
case $(debianRelease) in
    12) readonly kClangVersion=14 ;;
    *) readonly kClangVersion=19 ;;
esac

# name|why
readonly kRunPackages=(
    "g++|the C++ compiler"
    "cmake|build system"
    "ninja-build|runs the build"
    "pkg-config|finds libraries"
    "qtbase5-dev|Qt 5: window, widgets, settings files"
    "qttools5-dev|Qt 5: finds the translation tools"
    "qttools5-dev-tools|Qt 5: compiles the Chinese texts"
    "gettext|compiles the Chinese texts of korvcam"
    "qttranslations5-l10n|Qt's own Chinese texts (file chooser, menus)"
    "libcjson-dev|reads the camera library's JSON"
    "libcli11-dev|command line of korvcam"
    "libjpeg-dev|JPEG pictures"
    "libpng-dev|PNG files"
    "libtiff-dev|TIFF files"
    "liblcms2-dev|colour profiles of pictures"
    "libpugixml-dev|the XML in OFD files and in the metadata of PDF files"
    "libutfcpp-dev|UTF-8 texts"
    "libmicrohttpd-dev|korvcam serve: HTTP"
    "libavahi-client-dev|korvcam serve: announces the scanner"
    "libdeflate-dev|compression in OFD and PDF files"
    "libopencv-core-dev|finds the sheet in a photograph"
    "libopencv-imgproc-dev|finds the sheet in a photograph"
    "libinih-dev|settings files of the camera library"
    "libudev-dev|finds cameras as they are plugged in"
    "fonts-wqy-microhei|Chinese glyphs"
    "procps|ps, which looks for a copy that runs already"
    "xdg-utils|opens a photograph in the desktop's viewer"
)
readonly kWaylandPackages=(
    "qtwayland5|Qt 5 on a Wayland desktop without X11"
)
readonly kTestPackages=(
    "libgtest-dev|unit tests"
    "libgmock-dev|unit tests: matchers"
    "python3|end-to-end tests, layer check"
    "zsh|completion of korvcam in zsh"
    "fish|completion of korvcam in fish"
    "xvfb|a display for the tests"
    "xdotool|mouse and keyboard for the tests"
    "qpdf|reads PDF files back"
    "poppler-utils|reads PDF files back: pdftoppm"
    "mupdf-tools|reads PDF files back, a second reader"
    "nodejs|runs pdf.js"
    "libjs-pdf|pdf.js, the reader of PDF files in browsers: what is copied there"
    "libtiff-tools|reads TIFF files back: tiffinfo; changes their tags: tiffset"
    "libjpeg-turbo-progs|reads JPEG files back: djpeg"
    "unzip|reads OFD files back"
    "file|says what kind of file was written"
    "libxml2-utils|reads OFD files back: xmllint"
    "openssl|certificates for the tests"
    "locales|a Chinese locale for the tests: localedef"
    "tesseract-ocr|recognises writing, with English"
    "tesseract-ocr-chi-sim|recognises Chinese writing"
    "imagemagick|reads PNG, BMP and TIFF files back"
    "fusefat|a file system without links, for the tests"
    "ntfs-3g|a file system without nameless files, for the tests"
    "dosfstools|makes the former: mkfs.vfat"
)
# without them the builds of the tests take longer, no more
readonly kQuickTestPackages=(
    "mold|links the test programs"
)
# only for scripts/package
readonly kPackagingPackages=(
    "dpkg-dev|finds what the programs need (dpkg-shlibdeps), reads the changelog"
    "file|tells CPack which files are programs"
    "python3|puts the changelog into the software centre's description"
)
# only for scripts/package and ./test with --architecture
readonly kCrossPackages=(
    "dpkg-dev|knows Debian's architectures (dpkg-architecture)"
    "qttools5-dev-tools|Qt 5: lrelease of this machine"
    "qtbase5-dev-tools|Qt 5: moc, rcc and uic of this machine"
)
# only for ./test --architecture
readonly kEmulatorPackages=(
    "qemu-user-static|runs programs of other architectures"
)
# only for ./test --release
readonly kFreshDebianPackages=(
    "debootstrap|makes a fresh Debian to build and test in"
    "wget|asks whether Debian's mirror can be reached"
    "util-linux|keeps the fresh Debian's processes apart: unshare"
)
# only for ./test --packages
readonly kPackageTestPackages=(
    "debootstrap|makes a fresh Debian to install the packages in"
    "lintian|Debian's own check of packages"
    "desktop-file-utils|checks the desktop entry"
    "appstream|checks the software centre's description"
    "man-db|checks the manual pages"
    "mandoc|checks the manual pages, a second reader"
    "systemd|checks the units of the user's service"
    "util-linux|keeps the fresh Debian's processes apart: unshare"
)
# for the tests on a Wayland desktop, those of what screen readers get, and those with scan programs
readonly kDesktopPackages=(
    "weston|a Wayland desktop"
    "qtwayland5|Qt 5 on that desktop"
    "at-spi2-core|the bus that screen readers listen on"
    "dbus-daemon|the bus of a session, which starts that one; the bus of Avahi"
    "sane-airscan|finds korvcam serve and scans from it"
    "sane-utils|scanimage, which does so through it"
    "avahi-daemon|announces that scanner"
    "iproute2|ip, which makes a network of the test's own"
    "libglib2.0-bin|gdbus, which asks on these"
)
# only for ./test --kernel
readonly kKernelPackages=(
    "qemu-system-x86|emulates the machine that the kernel boots on"
    "busybox-static|the commands in that machine"
    "cpio|packs its file system"
    "kmod|orders the kernel's modules"
    "xz-utils|unpacks them"
    "udev|the device daemon in that machine"
)
# only for tools/check.sh
readonly kCheckPackages=(
    "python3|checks includes and names"
    "clang-format|checks the layout of the sources"
    "shellcheck|checks the scripts"
    "clang|checks the use of locks"
    "clang-tidy|checks the sources for usual mistakes"
)
# only for tools/fuzz.sh
readonly kFuzzPackages=(
    "clang|the compiler that knows libFuzzer"
    "libclang-rt-$kClangVersion-dev|libFuzzer and the sanitizers' libraries"
    "llvm|names of functions in its reports"
)

# Prints those of the given "name|why" entries whose package is not installed. A name without an
# architecture, as in libpng-dev:arm64, means this machine's.
missingPackages()
{
    local entry installed native
    native=$(dpkg --print-architecture 2>/dev/null || true)
    installed=$(dpkg-query -W -f='${Package}:${Architecture} ${db:Status-Status}\n' "${@%%|*}" \
        2>/dev/null | sed -E "s/:($native|all) / /" || true)
    for entry in "$@"; do
        [[ $'\n'$installed$'\n' == *$'\n'"${entry%%|*} installed"$'\n'* ]] || printf '%s\n' "$entry"
    done
}

# One line on standard error that begins with the script's name.
complain()
{
    echo "${0##*/}: $*" >&2
}

# Refuses a system that is not a supported release, in one line. With "yes" it says so and goes on.
requireRelease()
{
    local goOn=$1 release name
    release=$(debianRelease)
    [[ -z $release || " ${kReleases[*]} " != *" $release "* ]] || return 0
    # shellcheck disable=SC1091
    name=$(. /etc/os-release 2>/dev/null && echo "${PRETTY_NAME:-}") || true
    name="this is ${name:-an unknown system}; only Debian $(sed 's/ / and /' <<<"${kReleases[*]}")"
    name+=" are supported"
    if [[ $goOn == yes ]]; then
        complain "$name"
    else
        complain "$name; --anyway tries all the same"
        return 1
    fi
}

canBecomeRoot()
{
    ((EUID == 0)) || command -v sudo >/dev/null
}

# Runs a command as root: unchanged for root, through sudo for anybody else.
asRoot()
{
    if ((EUID == 0)); then
        "$@"
    else
        sudo "$@"
    fi
}

# Installs what is missing of the given "name|why" entries; silent when nothing is.
installPackages()
{
    local list
    local -a missing names
    list=$(missingPackages "$@")
    [[ -n $list ]] || return 0
    mapfile -t missing <<<"$list"
    names=("${missing[@]%%|*}")

    if ! command -v apt-get >/dev/null; then
        complain "apt-get is missing; it is needed to install: ${names[*]}"
        return 1
    fi
    if ! canBecomeRoot; then
        complain "installing packages needs root, and sudo is missing;" \
            "as root, run: apt-get install --no-install-recommends ${names[*]}"
        return 1
    fi
    if ((EUID != 0)) && ! sudo -v; then
        complain "installing packages needs root, and sudo refuses"
        return 1
    fi
    echo "Installing ${#missing[@]} Debian packages with apt-get:"
    printf '%s\n' "${missing[@]}" | while IFS='|' read -r name why; do
        printf '  %-22s %s\n' "$name" "$why"
    done
    # a stale package index is the usual cause of a failing install, an unreachable mirror is
    # reported by the install itself when it matters; services that packages start must not keep
    # the lock on the builds
    asRoot apt-get update -qq 9>&- || true
    asRoot env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq -o DPkg::Lock::Timeout=600 --no-install-recommends "${names[@]}" \
        </dev/null 9>&- || {
        complain "apt-get could not install: ${names[*]}"
        return 1
    }
}

# Prints the first of the folders needed for building that cannot be written to: blockedFolder BUILD
# Nothing when BUILD (build/release) can be made or written to.
blockedFolder()
{
    local folder
    for folder in "$1" "${1%/*}"; do
        [[ -e $folder ]] || continue
        [[ -d $folder && -w $folder ]] || echo "$PWD/$folder"
        return 0
    done
    [[ -w . ]] || echo "$PWD"
}

# One command at a time builds in this folder: two would take each other's files away, and a program
# under test does not start while a compiler names it. Waits for another command that has the lock.
# The lock is descriptor 9, which whatever outlives the script must not inherit.
lockBuilds()
{
    # the command that started this one has the lock
    [[ -z ${KORV_BUILDS_LOCKED:-} ]] || return 0
    [[ -n $(blockedFolder build) ]] || mkdir -p build
    if [[ -w build/.lock || (! -e build/.lock && -w build) ]]; then
        exec 9>>build/.lock
    elif [[ -r build/.lock ]]; then
        exec 9<build/.lock
    else
        return 0
    fi
    local status=0
    flock --nonblock --conflict-exit-code 1 9 2>/dev/null || status=$?
    # any other status: a file system without locks
    if ((status == 1)); then
        echo "Waiting for another ./run or ./test in this folder to finish ..."
        flock 9
    fi
    export KORV_BUILDS_LOCKED=1
}

# Before a program takes the script's place.
unlockBuilds()
{
    exec 9>&-
    unset KORV_BUILDS_LOCKED
}

# A locale whose character set is not UTF-8 garbles Chinese texts and file names.
useUtf8()
{
    [[ $(locale charmap 2>/dev/null) == UTF-8 ]] && return
    [[ -z ${LC_ALL:-} ]] || export LC_ALL=C.UTF-8
    export LC_CTYPE=C.UTF-8
}

# A build folder that came along with a moved or copied clone still points at the old place.
dropForeignBuild()
{
    local cache=$1/CMakeCache.txt
    [[ -f $cache ]] || return 0
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$cache" || rm -rf "$1"
}

# CMake cannot build below a folder whose name holds characters such as " $ ; or a backslash. There
# the sources are mirrored to a plain place, which becomes the working folder.
leaveAwkwardFolder()
{
    local plain="[:alnum:]/._+ '()-"
    # shellcheck disable=SC2053
    [[ $PWD == *[!$plain]* ]] || return 0
    local mirror entry
    mirror=${HOME:-/var/tmp}/.cache/vexalin-camera/$(cksum <<<"$PWD" | cut -d ' ' -f 1)
    echo "The name of this folder is too much for CMake; building in $mirror"
    (umask 077 && mkdir -p -- "$mirror")
    for entry in * .ci .clang-format; do
        [[ $entry == build || $entry == out ]] ||
            cp -R --update --preserve=timestamps,mode -- "$entry" "$mirror/"
    done
    cd -P -- "$mirror" || return
}
