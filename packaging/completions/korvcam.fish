# fish completion for korvcam(1)

# The command that stands on the line already, if any.
function __korvcam_command
    set -l words (commandline -opc)
    set -e words[1]
    while set -q words[1]
        switch $words[1]
            case --library --desk -d --device
                set -e words[1]
            case '-*'
            case '*'
                echo $words[1]
                return
        end
        set -e words[1]
    end
    return 1
end

# Whether the command on the line is one of these; without any, whether there is none.
function __korvcam_has
    set -l command (__korvcam_command)
    or return (test (count $argv) -eq 0; echo $status)
    contains -- $command $argv
end

# What the program prints, asked with the library, desk and camera that stand on the line.
function __korvcam_ask
    set -l words (commandline -opc)
    set -l chosen
    # the last one may be the option whose value is completed
    for index in (seq 2 (math (count $words) - 1))
        if contains -- $words[$index] --library --desk -d --device
            set -a chosen $words[$index] $words[(math $index + 1)]
        end
    end
    $words[1] $chosen $argv 2>/dev/null </dev/null
end

# Listing opens no camera.
function __korvcam_cameras
    __korvcam_ask list | string replace -r '^(\d+)  ' '$1\t'
end

function __korvcam_controls
    __korvcam_ask controls | string match -r '^\w+='
end

complete -c korvcam -f

complete -c korvcam -l library -r -F -d 'Camera library to load'
complete -c korvcam -l desk -x -a 'builtin builtin:hands (__fish_complete_directories)' -d 'Simulated desk'
complete -c korvcam -s v -l verbose -d 'Print library calls and debug messages'
complete -c korvcam -s h -l help -d 'Print help'
complete -c korvcam -n __korvcam_has -l version -d 'Print the version'

complete -c korvcam -n __korvcam_has -a list -d 'List cameras'
complete -c korvcam -n __korvcam_has -a modes -d 'List the resolutions of a camera'
complete -c korvcam -n __korvcam_has -a snap -d 'Take photographs'
complete -c korvcam -n __korvcam_has -a scan -d 'Take a page each time one is turned'
complete -c korvcam -n __korvcam_has -a controls -d 'List or set the controls of a camera'
complete -c korvcam -n __korvcam_has -a focus -d 'Focus once'
complete -c korvcam -n __korvcam_has -a convert -d 'Convert a picture'
complete -c korvcam -n __korvcam_has -a combine -d 'Combine several pictures into one document'
complete -c korvcam -n __korvcam_has -a text -d 'Add the recognised writing to a document'
complete -c korvcam -n __korvcam_has -a doctor -d 'Diagnose camera problems'
complete -c korvcam -n __korvcam_has -a watch -d 'Report cameras as they are plugged in and removed'
complete -c korvcam -n __korvcam_has -a config -d 'Show the settings in force'
complete -c korvcam -n __korvcam_has -a calibrate -d 'Measure the desk by an A4 sheet'
complete -c korvcam -n __korvcam_has -a serve -d 'Offer the camera to scan programs'

# options that several commands share
set -l with_camera modes snap scan controls focus doctor calibrate serve
complete -c korvcam -n "__korvcam_has; or __korvcam_has $with_camera" -s d -l device -x -a '(__korvcam_cameras)' -d Camera
complete -c korvcam -n '__korvcam_has list modes snap scan controls text doctor watch' -l json -d 'Print one JSON object a line'
complete -c korvcam -n '__korvcam_has snap scan convert combine serve' -s q -l quality -x -d 'JPEG quality'
complete -c korvcam -n '__korvcam_has snap scan calibrate' -s r -l resolution -x -d 'Size, one of modes'
complete -c korvcam -n '__korvcam_has snap scan focus doctor calibrate serve' -l timeout -x -d 'Seconds to wait for a frame'
complete -c korvcam -n '__korvcam_has snap scan convert combine text' -s f -l force -d 'Replace an existing file'
complete -c korvcam -n '__korvcam_has snap scan convert combine text focus doctor calibrate' -l no-progress -d 'Do not show progress'
complete -c korvcam -n '__korvcam_has snap scan convert combine text' -s o -l output -r -F -d 'New file'
complete -c korvcam -n '__korvcam_has snap scan convert' -l clean -d 'Even out light and shadow'
complete -c korvcam -n '__korvcam_has snap convert' -l format -x -a 'jpg png bmp tiff pdf ofd' -d 'Format on standard output'
complete -c korvcam -n '__korvcam_has scan combine' -l title -x -d 'Title of the document'
complete -c korvcam -n '__korvcam_has scan combine' -l page-size -x -a 'A3 A4 A5 letter card' -d 'Size of every page'
complete -c korvcam -n '__korvcam_has scan convert combine text' -l text -x -d 'Languages of the writing to recognise'
complete -c korvcam -n '__korvcam_has scan convert combine' -l upright -d 'Turn pages upright'
complete -c korvcam -n '__korvcam_has scan convert combine' -l compact -d 'Make pages of writing smaller'
complete -c korvcam -n '__korvcam_has convert combine text' -F

complete -c korvcam -n '__korvcam_has snap scan' -l color -x -a 'color gray lineart' -d 'Colors of the photographs'
complete -c korvcam -n '__korvcam_has snap scan' -l crop -d 'Find the sheet and cut it out'
complete -c korvcam -n '__korvcam_has snap scan' -l rotate -x -a 'none left right 180' -d 'Rotate the photographs'

complete -c korvcam -n '__korvcam_has snap' -s n -l count -x -d 'Number of photographs'
complete -c korvcam -n '__korvcam_has snap' -l interval -x -d 'Milliseconds between photographs'
complete -c korvcam -n '__korvcam_has snap' -l no-settle -d 'Take the next frame'

complete -c korvcam -n '__korvcam_has scan' -s n -l pages -x -d 'Stop after that many pages'
complete -c korvcam -n '__korvcam_has scan' -l on -x -a 'turn key button interval' -d 'What takes a page'
complete -c korvcam -n '__korvcam_has scan' -l interval -x -d 'Take a page every so many seconds'
complete -c korvcam -n '__korvcam_has scan' -l resume -d 'Go on with a scan that was killed'
complete -c korvcam -n '__korvcam_has scan' -l quiet -d 'No sound when a page was taken'

complete -c korvcam -n '__korvcam_has controls' -s c -l set -x -a '(__korvcam_controls)' -d 'Set controls'
complete -c korvcam -n '__korvcam_has controls' -l save -d 'Keep what is set for this camera model'
complete -c korvcam -n '__korvcam_has controls' -l reset -d 'Forget what was kept for this camera model'

complete -c korvcam -n '__korvcam_has focus' -l lock -d 'Keep the focus from then on'

complete -c korvcam -n '__korvcam_has combine' -l strict -d 'Write nothing when a page cannot be read'
complete -c korvcam -n '__korvcam_has combine' -l from-file -r -F -d 'Read more sources from a list'
complete -c korvcam -n '__korvcam_has combine' -l format -x -a 'pdf ofd tiff' -d 'Format on standard output'

complete -c korvcam -n '__korvcam_has text' -l strict -d 'Write nothing when a page gets no text'

complete -c korvcam -n '__korvcam_has watch' -l seconds -x -d 'Stop after that time'
complete -c korvcam -n '__korvcam_has watch' -s n -l count -x -d 'Stop after that many events'

complete -c korvcam -n '__korvcam_has calibrate' -l card -d 'A card lies there, no A4 sheet'

complete -c korvcam -n '__korvcam_has serve' -l listen -x -d 'Address and port to listen on'
complete -c korvcam -n '__korvcam_has serve' -l name -x -d 'Name of the scanner'
complete -c korvcam -n '__korvcam_has serve' -l certificate -r -F -d 'TLS certificate'
complete -c korvcam -n '__korvcam_has serve' -l key -r -F -d 'Key of the certificate'
complete -c korvcam -n '__korvcam_has serve' -l no-crop -d 'Scan the whole picture'
complete -c korvcam -n '__korvcam_has serve' -l no-announce -d 'Do not announce the scanner'
complete -c korvcam -n '__korvcam_has serve' -l hands-free -d 'Offer a feeder too'
complete -c korvcam -n '__korvcam_has serve' -l still -x -d 'End a scan from the feeder after so many seconds of stillness'
