# shellcheck shell=bash
# A fresh Debian in a folder, to install packages in. Sourced; needs root.

# freshDebianObstacle MIRROR RELEASE TOOL ...: why this machine cannot have one of that release, or
# lacks a tool that is used with it; nothing when all is there.
freshDebianObstacle()
{
    local mirror=$1 release=$2 tool
    ((EUID == 0)) || { echo "only root can make a fresh Debian" && return; }
    for tool in debootstrap wget unshare chroot "${@:3}"; do
        command -v "$tool" >/dev/null || { echo "$tool is not installed" && return; }
    done
    [[ -e ${DEBOOTSTRAP_DIR:-/usr/share/debootstrap}/scripts/$release ]] ||
        { echo "debootstrap knows no release '$release'" && return; }
    unshare --mount --pid --fork true 2>/dev/null ||
        { echo "this machine gives no name spaces (unshare)" && return; }
    unshare --mount --pid --fork -- mount -t proc proc /proc 2>/dev/null ||
        { echo "this machine lets nobody mount" && return; }
    askMirror --spider "$mirror/dists/$release/InRelease" ||
        echo "$mirror cannot be reached, or has no $release"
}

# askMirror OPTION ... URL: wget's answer, within a minute: there are networks that lose all that is
# sent, and a mirror has many addresses to try.
askMirror()
{
    timeout 60 wget -q --timeout=20 --tries=2 "$@"
}

# makeFreshDebian FOLDER MIRROR RELEASE: the most that it may take is for a network that stands still
makeFreshDebian()
{
    local root=$1 mirror=$2 release=$3
    mkdir -p "$root"
    # what is downloaded need not survive a power failure
    unshare --mount --pid --fork --kill-child -- \
        timeout 900 debootstrap --variant=minbase --merged-usr "$release" "$root" "$mirror"
    echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
    cp /etc/resolv.conf /etc/hosts "$root/etc/"
    apt-config dump | grep -i '^Acquire::.*::Proxy' >"$root/etc/apt/apt.conf.d/80proxy" || true
}

# inFreshDebian FOLDER COMMAND ...: runs it there as root, with processes of its own; none of them
# is left when it ends.
inFreshDebian()
{
    asUserOfFreshDebian root:root "" "$@"
}

# asUserOfFreshDebian USER:GROUP GROUPS FOLDER COMMAND ...: the same as somebody else, who is in
# those further groups (comma separated). The folder becomes a mount: without one at its root,
# nothing in it could have name spaces, and so no fresh Debian, of its own.
asUserOfFreshDebian()
{
    local owner=$1 groups=$2 root=$3
    shift 3
    local home=/home/${owner%:*}
    [[ $owner != root:root ]] || home=/root
    # shellcheck disable=SC2016
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        HOME="$home" \
        unshare --mount --pid --fork --kill-child -- \
        bash -c 'mount --rbind "$0" "$0" && mount -t proc proc "$0/proc" &&
            mount -t devpts devpts "$0/dev/pts" && exec chroot "$@"' "$root" \
        --userspec="$owner" --groups="$groups" "$root" "$@" </dev/null
}

# Everything that lies there, one line each: kind, rights, owner, name, target of a link. Not what
# apt and dpkg write down about their work, nor the user's own files.
listFreshDebian()
{
    (cd "$1" && find . -xdev \
        \( -path ./proc -o -path ./home -o -path ./var/lib/dpkg -o -path ./var/lib/apt \
        -o -path ./var/cache/apt -o -path ./var/log -o -path ./packages \) -prune -o \
        -printf '%y %m %U:%G %p %l\n' | LC_ALL=C sort)
}
