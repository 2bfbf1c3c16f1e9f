# shellcheck shell=bash
# What building for another architecture of Debian needs. Sourced after packages.sh.

# Whether Debian has that architecture and cross compilers for it; complains if not.
requireArchitecture()
{
    local architecture=$1
    [[ -n $(apt-cache pkgnames "crossbuild-essential-$architecture" 2>/dev/null) ]] && return
    # a fresh Debian has no package index yet
    asRoot apt-get update -qq 9>&- || true
    [[ -n $(apt-cache pkgnames "crossbuild-essential-$architecture" 2>/dev/null) ]] && return
    complain "Debian has no cross compiler for '$architecture' (crossbuild-essential-$architecture)"
    return 1
}

# Lets apt and dpkg install packages of that architecture beside this machine's.
addArchitecture()
{
    ! dpkg --print-foreign-architectures | grep -qxF "$1" || return 0
    if ! canBecomeRoot; then
        complain "packages of $1 need root, and sudo is missing; as root, run: dpkg --add-architecture $1"
        return 1
    fi
    asRoot dpkg --add-architecture "$1"
    asRoot apt-get update -qq 9>&-
}

# Prints the given "name|why" entries as building for ARCHITECTURE needs them: crossEntries
# ARCHITECTURE ENTRY ... The libraries are that architecture's, what runs while building is this
# machine's. Debian marks packages that can stand beside those of another architecture.
crossEntries()
{
    local architecture=$1 entry name twins
    shift
    twins=$(apt-cache show --no-all-versions "${@%%|*}" 2>/dev/null |
        awk '/^Package: / { name = $2 } /^Multi-Arch: same/ && name ~ /-dev$/ { print name }')
    for entry in "$@"; do
        name=${entry%%|*}
        if [[ $name == g++ ]]; then
            echo "crossbuild-essential-$architecture|the C++ compiler for $architecture"
        elif grep -qxF "$name" <<<"$twins"; then
            echo "$name:$architecture|${entry#*|}"
        else
            echo "$entry"
        fi
    done
}

# The options of cmake that build for ARCHITECTURE, one a line.
crossOptions()
{
    printf '%s\n' --toolchain cmake/debian_cross.cmake "-DKORV_ARCHITECTURE=$1"
}

# Installs what building for ARCHITECTURE needs: installCrossPackages ARCHITECTURE ENTRY ...
installCrossPackages()
{
    local architecture=$1
    local -a entries
    shift
    requireArchitecture "$architecture"
    addArchitecture "$architecture"
    mapfile -t entries < <(crossEntries "$architecture" "$@")
    installPackages "${kCrossPackages[@]}" "${entries[@]}"
}

# Prints what the emulator calls the processor of ARCHITECTURE.
emulatedCpu()
{
    local cpu
    cpu=$(dpkg-architecture -a "$1" -q DEB_HOST_GNU_CPU)
    echo "${cpu/#powerpc/ppc}"
}

# Why programs of ARCHITECTURE cannot be started here: emulatorObstacle ARCHITECTURE. Nothing when they
# can, then with the prefix that withEmulator() gives a command.
emulatorObstacle()
{
    local cpu
    cpu=$(emulatedCpu "$1")
    [[ -e /usr/lib/binfmt.d/qemu-$cpu.conf ]] || { echo "there is no emulator for $1" && return; }
    [[ ! -e /proc/sys/fs/binfmt_misc/qemu-$cpu ]] || return 0
    # shellcheck disable=SC2016
    unshare --user --map-root-user --mount -- \
        mount -t binfmt_misc none /proc/sys/fs/binfmt_misc 2>/dev/null ||
        echo "the kernel knows no emulator for $1, and lets nobody name one in a name space"
}

# How many times as long as usual a test may take in an emulator.
# shellcheck disable=SC2034
readonly kEmulatorSlowness=10

# Runs a command whose programs of ARCHITECTURE start like this machine's: withEmulator ARCHITECTURE
# COMMAND ... Where the kernel knows no emulator yet, it is told of one in name spaces of their own.
withEmulator()
{
    local cpu
    cpu=$(emulatedCpu "$1")
    shift
    if [[ -e /proc/sys/fs/binfmt_misc/qemu-$cpu ]]; then
        "$@"
    else
        # shellcheck disable=SC2016
        unshare --user --map-root-user --mount --pid --fork --kill-child --mount-proc -- bash -c \
            'mount -t binfmt_misc none /proc/sys/fs/binfmt_misc &&
            cat "$0" >/proc/sys/fs/binfmt_misc/register && exec "$@"' \
            "/usr/lib/binfmt.d/qemu-$cpu.conf" "$@"
    fi
}
