# shellcheck shell=bash disable=SC2154
# The life of the packages, step by step. Sourced by check_packages.sh, which says what $work and
# $debian are.

application=vexalin-plixo-base
camera=korv-camera-open
server=korv-camera-escl
prefix=/opt/vexalin/camera
library=$prefix/lib/libKorvPlixoManager.so

installed()
{
    [[ $(inFreshDebian "$debian" dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# The packages under short names: the program's own name in a command line would keep it from
# starting, here and everywhere else on this machine.
offer()
{
    local folder=$work/packages/$1
    mkdir -p "$debian/packages"
    cp "$folder/$application"_*.deb "$debian/packages/application.deb"
    cp "$folder/$camera"_*.deb "$debian/packages/camera.deb"
    cp "$folder/$server"_*.deb "$debian/packages/server.deb"
}

aptInstall()
{
    inFreshDebian "$debian" apt-get install -y -qq --no-install-recommends "$@"
}

# korvcam without the package of its server says which one that is.
withoutServer()
{
    local said status=0
    said=$(asTester korvcam serve 2>&1) || status=$?
    ((status == 1)) || fail "serve ended with $status: $said"
    [[ $said == *"install the package $server"* ]] || fail "$said"
}

# The server gives a page to a client outside; nothing has turned the user's service on.
scanAsTester()
{
    local process address='' page=$work/evidence/scan.jpg
    [[ -z $(find "$debian/etc/systemd/user" -name "$server*" 2>/dev/null) ]] || fail "the service is on"
    : >"$work/logs/address"
    asTester korvcam --desk builtin serve --no-announce --listen 127.0.0.1:0 \
        >"$work/logs/address" &
    process=$!
    for _ in {1..100}; do
        read -r address <"$work/logs/address" && break
        sleep 0.1
    done
    mkdir -p "${page%/*}"
    PYTHONPATH=$root/tests/serve python3 -B "$here/take_scan.py" "$address" >"$page"
    # not the shell: what it waits for, and all that goes with it
    pkill -KILL -P "$process"
    wait "$process" || true
    djpeg -pnm "$page" | LC_ALL=C sed -n 2p | grep -x '1240 1754'
}

installThem()
{
    offer first
    inFreshDebian "$debian" apt-get update -qq
    inFreshDebian "$debian" useradd --create-home --shell /bin/bash tester
    inFreshDebian "$debian" install -d -m 700 -o tester -g tester /home/tester/runtime
    # everything else first, so that what the packages themselves bring can be told apart
    local -a needed
    mapfile -t needed < <(inFreshDebian "$debian" apt-get install -s --no-install-recommends \
        /packages/application.deb /packages/camera.deb /packages/server.deb fonts-wqy-microhei |
        awk -v ours="^($application|$camera|$server)\$" '/^Inst / && $2 !~ ours { print $2 }')
    ((${#needed[@]} > 10)) || fail "apt finds nothing to install"
    {
        echo "apt brings ${#needed[@]} packages along:"
        inFreshDebian "$debian" apt-get install -qq --print-uris --no-install-recommends "${needed[@]}" |
            awk '{ sum += $3 } END { printf "%.0f MB to download\n", sum / 1e6 }'
        aptInstall "${needed[@]}" >&2
        # shellcheck disable=SC2016
        inFreshDebian "$debian" dpkg-query -W -f '${Installed-Size}\n' "${needed[@]}" |
            awk '{ sum += $1 } END { printf "%.0f MB installed\n", sum * 1024 / 1e6 }'
    } >"$work/logs/needed"
    listFreshDebian "$debian" >"$work/before"
    aptInstall /packages/application.deb /packages/camera.deb
    installed $application
    installed $camera
    withoutServer
    aptInstall /packages/server.deb
    [[ $(inFreshDebian "$debian" readlink -f /usr/bin/korvcam) == "$prefix/bin/korvcam" ]]
    # every Chinese text needs its glyphs
    [[ -n $(inFreshDebian "$debian" fc-list :lang=zh-cn) ]] || fail "no font for Chinese"
}

asTester()
{
    asUserOfFreshDebian tester:tester "" "$debian" env LANG=C.UTF-8 "$@"
}

useAsTester()
{
    asTester korvcam --desk builtin list | grep -q 'Simulated Desk'
    asTester korvcam --version
    scanAsTester
    python3 -B "$here/drive.py" "$debian" "$work/evidence"
    (cd "$debian/home/tester" && find .config -name '*.ini' -exec sha256sum {} +) >"$work/settings"
    [[ -s $work/settings ]]
}

# A camera that belongs to the group video, and a user who is not in it, who is in it since the last
# login, and who is in it.
refuseTester()
{
    local status=0 said
    # its rights decide; that nothing answers behind it does not matter
    install -m 660 -o root -g "$(inFreshDebian "$debian" getent group video | cut -d : -f 3)" \
        /dev/null "$debian/dev/video0"
    said=$(asTester korvcam list 2>&1) || status=$?
    ((status == 3)) || fail "list ended with $status: $said"
    # shellcheck disable=SC2016
    [[ $said == *'/dev/video0: this user may not open it; `sudo adduser $USER video`'* ]] || fail "$said"
    # shellcheck disable=SC2016
    (asTester korvcam doctor || true) | grep -F '`sudo adduser $USER video`, then log in again'
    inFreshDebian "$debian" usermod -a -G video tester
    (asTester korvcam list 2>&1 || true) | grep 'log in again' | grep -v adduser
    said=$(asUserOfFreshDebian tester:tester video "$debian" korvcam list 2>&1) || true
    [[ $said != *"may not open"* ]] || fail "$said"
    rm "$debian/dev/video0"
}

settingsAreThere()
{
    (cd "$debian/home/tester" && sha256sum --check --quiet "$work/settings")
}

versionOf()
{
    inFreshDebian "$debian" dpkg-query -W -f '${Version}' "$1"
}

upgrade()
{
    local before
    before=$(versionOf $application)
    offer upgrade
    aptInstall /packages/application.deb /packages/camera.deb /packages/server.deb
    [[ $before == *-1 && $(versionOf $application) == *-99 && $(versionOf $camera) == *-99 &&
        $(versionOf $server) == *-99 ]] ||
        fail "from $before to $(versionOf $application)"
    settingsAreThere
    asTester korvcam --desk builtin list | grep -q 'Simulated Desk'
}

# A maker's package with a library of that name takes the place of ours, and gives it back.
replaceLibrary()
{
    local maker=$work/packages/maker
    mkdir -p "$maker/DEBIAN" "$maker${library%/*}"
    echo "not a library" >"$maker$library"
    cat >"$maker/DEBIAN/control" <<'CONTROL'
Package: maker-camera
Version: 1
Architecture: all
Maintainer: Maker <maker@example.org>
Provides: korv-camera-library
Conflicts: korv-camera-library
Replaces: korv-camera-library
Description: library of a camera's maker
CONTROL
    dpkg-deb --root-owner-group --build "$maker" "$debian/packages/maker.deb"
    aptInstall /packages/maker.deb
    installed maker-camera
    installed $application || fail "the application was removed with the library"
    if installed $camera; then fail "two packages own the library"; fi
    if installed $server; then fail "the server stayed without korvcam"; fi
    cmp "$maker$library" "$debian$library"
    aptInstall /packages/camera.deb /packages/server.deb
    if installed maker-camera; then fail "the maker's package stayed"; fi
    inFreshDebian "$debian" dpkg --purge maker-camera
    inFreshDebian "$debian" dpkg -S "$library" | grep "^$camera: "
}

removeThem()
{
    inFreshDebian "$debian" apt-get remove -y -qq $application $camera $server
    settingsAreThere
    [[ ! -e $debian/opt/vexalin ]] || fail "$(find "$debian/opt")"
}

# From the installed state, as most people do it; nothing but the settings may be left then.
purgeThem()
{
    aptInstall /packages/application.deb /packages/camera.deb /packages/server.deb
    inFreshDebian "$debian" apt-get purge -y -qq $application $camera $server
    if inFreshDebian "$debian" dpkg-query -W $application $camera $server; then fail "dpkg still knows them"; fi
    settingsAreThere
    listFreshDebian "$debian" >"$work/after"
    diff "$work/before" "$work/after"
}
