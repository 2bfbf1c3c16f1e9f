#compdef korvcam
# zsh completion for korvcam(1)

# The options that all commands have in common.
_korvcam_common=(
    '--library[camera library to load]:library:_files'
    '--desk[simulated desk]:desk:_korvcam_desks'
    '(-v --verbose)'{-v,--verbose}'[print library calls and debug messages]'
    '(-h --help)'{-h,--help}'[print help]'
)

_korvcam_commands=(
    'list:list cameras'
    'modes:list the resolutions of a camera'
    'snap:take photographs'
    'scan:take a page each time one is turned, and make a document of them'
    'controls:list or set the controls of a camera'
    'focus:focus once'
    'convert:convert a picture'
    'combine:combine several pictures into one document'
    'text:add the recognised writing to a document'
    'doctor:diagnose camera problems'
    'watch:report cameras as they are plugged in and removed'
    'config:show the settings in force'
    'calibrate:measure the desk by an A4 sheet'
    'serve:offer the camera to scan programs'
)

_korvcam_desks()
{
    _alternative 'builtin:simulated desk:(builtin builtin\:hands)' 'folders:folder:_files -/'
}

# What the program prints, asked with the library, desk and camera that stand on the line.
_korvcam_ask()
{
    local -a chosen
    local index
    for ((index = 2; index < CURRENT; ++index)); do
        case ${_korvcam_line[index]} in
            --library | --desk | -d | --device) chosen+=(${_korvcam_line[index,index + 1]}) ;;
        esac
    done
    ${_korvcam_line[1]} $chosen $1 2>/dev/null </dev/null
}

# Listing opens no camera.
_korvcam_cameras()
{
    local -a cameras
    cameras=(${(f)"$(_korvcam_ask list | sed -E 's/^([0-9]+)  /\1:/')"})
    _describe camera cameras
}

_korvcam_controls()
{
    local -a controls
    controls=(${(f)"$(_korvcam_ask controls | sed -n 's/=.*//p')"})
    compadd -S = -a controls
}

# Sets `reply` to what _arguments takes for the command $1.
_korvcam_options()
{
    local -a camera quality force progress json text timeout resolution photograph document
    camera=('(-d --device)'{-d,--device}'[camera]:camera:_korvcam_cameras')
    quality=('(-q --quality)'{-q,--quality}'[JPEG quality]:quality, 1 to 100: ')
    force=('(-f --force)'{-f,--force}'[replace an existing file]')
    progress=('--no-progress[do not show progress]')
    json=('--json[print one JSON object a line]')
    text=(
        '--text[languages of the writing to recognise]:languages, such as chi_sim+eng: '
        '--upright[turn pages upright]'
        '--compact[make pages of writing smaller]'
    )
    timeout=('--timeout[seconds to wait for a frame]:seconds: ')
    resolution=('(-r --resolution)'{-r,--resolution}'[size, one of modes]:width x height: ')
    photograph=(
        $camera $quality $force $progress $json $timeout $resolution
        '--color[colors of the photographs]:colors:(color gray lineart)'
        '--crop[find the sheet and cut it out]'
        '--clean[even out light and shadow]'
        '--rotate[rotate the photographs]:rotation:(none left right 180)'
        '(-o --output)'{-o,--output}'[new file]:file:_files'
    )
    document=(
        '--title[title of the document]:title: '
        '--page-size[size of every page]:size:(A3 A4 A5 letter card)'
        $text
    )
    case $1 in
        list) reply=($json) ;;
        modes) reply=($camera $json) ;;
        snap)
            reply=(
                $photograph
                '(-n --count)'{-n,--count}'[number of photographs]:number: '
                '--interval[milliseconds between photographs]:milliseconds: '
                '--no-settle[take the next frame]'
                '--format[format on standard output]:format:(jpg png bmp tiff pdf ofd)'
            )
            ;;
        scan)
            reply=(
                $photograph $document
                '(-n --pages)'{-n,--pages}'[stop after that many pages]:number: '
                '--on[what takes a page]:what:(turn key button interval)'
                '--interval[take a page every so many seconds]:seconds: '
                '--resume[go on with a scan that was killed]'
                '--quiet[no sound when a page was taken]'
            )
            ;;
        controls)
            reply=(
                $camera $json
                '(-c --set)'{-c,--set}'[set controls]:control:_korvcam_controls'
                '--save[keep what is set for this camera model]'
                '--reset[forget what was kept for this camera model]'
            )
            ;;
        focus) reply=($camera $timeout $progress '--lock[keep the focus from then on]') ;;
        convert)
            reply=(
                $quality $force $progress $text
                '--clean[even out light and shadow]'
                '--format[format on standard output]:format:(jpg png bmp tiff pdf ofd)'
                '(-o --output)'{-o,--output}'[new file]:file:_files'
                '*:picture:_files'
            )
            ;;
        combine)
            reply=(
                $quality $force $progress $document
                '--strict[write nothing when a page cannot be read]'
                '--from-file[read more sources from a list]:list:_files'
                '--format[format on standard output]:format:(pdf ofd tiff)'
                '(-o --output)'{-o,--output}'[new file]:file:_files'
                '*:picture:_files'
            )
            ;;
        text)
            reply=(
                $force $progress $json
                $text[1]
                '--strict[write nothing when a page gets no text]'
                '(-o --output)'{-o,--output}'[new file]:file:_files'
                '*:document:_files -g "*.(pdf|ofd)"'
            )
            ;;
        doctor) reply=($camera $timeout $progress $json) ;;
        watch)
            reply=(
                $json
                '--seconds[stop after that time]:seconds: '
                '(-n --count)'{-n,--count}'[stop after that many events]:number: '
            )
            ;;
        calibrate)
            reply=($camera $resolution $timeout $progress '--card[a card lies there, no A4 sheet]')
            ;;
        serve)
            reply=(
                $camera $quality $timeout
                '--listen[address and port to listen on]:address: '
                '--name[name of the scanner]:name: '
                '--certificate[TLS certificate]:file:_files'
                '--key[key of the certificate]:file:_files'
                '--no-crop[scan the whole picture]'
                '--no-announce[do not announce the scanner]'
                '--hands-free[offer a feeder too]'
                '--still[end a scan from the feeder after so much stillness]:seconds: '
            )
            ;;
        *) reply=() ;;
    esac
}

_korvcam()
{
    local -a reply _korvcam_line=($words)
    local curcontext=$curcontext state line
    _arguments -C $_korvcam_common '--version[print the version]' \
        '(-d --device)'{-d,--device}'[camera]:camera:_korvcam_cameras' \
        '1:command:->command' '*::option:->option' && return
    case $state in
        command) _describe command _korvcam_commands ;;
        option)
            _korvcam_options $line[1]
            _arguments $_korvcam_common $reply
            ;;
    esac
}

# as a function in fpath it is called, as a file it only defines
[[ ${funcstack[1]-} != _korvcam ]] || _korvcam "$@"
