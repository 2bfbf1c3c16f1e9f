# shellcheck shell=bash disable=SC2154
# What Debian's own tools and a second look say about the packages. Sourced by check_packages.sh.

# silent COMMAND ...: it has to say nothing at all
silent()
{
    local said
    said=$("$@" 2>&1) || fail "$* ended with $?: $said"
    [[ -z $said ]] || fail "$*: $said"
}

renderManualPage()
{
    # as people with a terminal of 80 columns read it
    MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$1" >/dev/null
}

examineManualPages()
{
    local page
    while read -r page; do
        silent renderManualPage "$page"
        # groff's Chinese line breaks are nothing that mandoc knows
        [[ $page == */zh_CN/* ]] || mandoc -Tlint -W warning "$page"
    done < <(find "$1/usr/share/man" -name '*.gz')
}

# Every program has its debug symbols in the other package, found by its build id.
examineSymbols()
{
    local unpacked=$1 symbols=$2 file id count=0
    while read -r file; do
        id=$(readelf -n "$file" | sed -n 's/.*Build ID: //p')
        [[ -n $id ]] || fail "$file has no build id"
        file "$symbols/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" | grep -q 'with debug_info' ||
            fail "no symbols of $file"
        if file "$file" | grep -q 'not stripped'; then fail "$file is not stripped"; fi
        count=$((count + 1))
    done < <(find "$unpacked/opt" -type f \( -perm -u+x -o -name '*.so' \))
    ((count > 0))
}

# Every override says why: a comment stands before it.
examineOverrides()
{
    awk '/^#/ { explained = 1; next } { if (!explained) { print FILENAME ": " $0; bad = 1 } explained = 0 }
        END { exit bad }' "$1"/usr/share/lintian/overrides/*
}

# Only the server's package needs HTTP and announcements, and its units are what systemd takes.
examineServer()
{
    local unpacked=$1 folder=$2 runtime
    dpkg-deb -f "$folder"/korv-camera-escl_*.deb Depends | grep libmicrohttpd
    if dpkg-deb -f "$folder"/korv-camera-open_*.deb Depends | grep -E 'libmicrohttpd|libavahi'; then
        fail "korvcam needs what only its server uses"
    fi
    mkdir -p "$work/units"
    cp "$unpacked"/usr/lib/systemd/user/* "$work/units/"
    # the package is not installed here
    sed -i 's:^ExecStart=/usr/bin/korvcam :ExecStart=/bin/true :' "$work"/units/*.service
    runtime=$work/runtime
    mkdir -p "$runtime"
    silent env XDG_RUNTIME_DIR="$runtime" systemd-analyze --user --man=no verify "$work"/units/*
}

examinePackages()
{
    local folder=$1 package name unpacked
    for package in "$folder"/*.deb; do
        name=${package##*/}
        name=${name%%_*}
        unpacked=$work/unpacked/$name
        mkdir -p "$unpacked"
        dpkg-deb -x "$package" "$unpacked"
    done
    for name in vexalin-plixo-base korv-camera-open korv-camera-escl; do
        [[ $name == korv-camera-escl ]] || examineManualPages "$work/unpacked/$name"
        examineSymbols "$work/unpacked/$name" "$work/unpacked/$name-dbgsym"
        examineOverrides "$work/unpacked/$name"
    done
    examineServer "$work/unpacked/korv-camera-escl" "$folder"
    unpacked=$work/unpacked/vexalin-plixo-base/usr/share
    silent desktop-file-validate "$unpacked"/applications/*.desktop
    appstreamcli validate --no-net --no-color "$unpacked"/metainfo/*.xml
    lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$folder"/*.deb
}

compareBuilds()
{
    (cd "$work/packages/first" && sha256sum -- *.deb) >"$work/first.sha256"
    (($(wc -l <"$work/first.sha256") == 6)) || fail "not six packages"
    (cd "$work/packages/second" && sha256sum --check "$work/first.sha256")
}
