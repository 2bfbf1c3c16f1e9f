#pragma once

#include "cli/commandline/controlchange.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

/// The exit status; `korvcam --help` prints the same list.
enum class ExitCode {
    Success = 0,
    Failure = 1, ///< the camera library or the system refused something, or a page was left out
    Usage = 2, ///< the command line is wrong
    NoDevice = 3, ///< there is no camera, or not the one asked for
    NoFrame = 4, ///< the camera sent no picture in time
    NoLibrary = 5, ///< the camera library cannot be loaded
    // as shells count: 128 and the signal
    HungUp = 129, ///< the terminal was closed
    Interrupted = 130, ///< Ctrl-C
    Terminated = 143,
};

enum class Command {
    List,
    Modes,
    Snap,
    Scan,
    Doctor,
    Convert,
    Combine,
    Text,
    Watch,
    Controls,
    Focus,
    Config,
    Calibrate,
    Serve
};

/// What makes `scan` take a page.
enum class ScanOn { Turn, Key, Button, Interval };

/// Picture size in pixels.
struct Resolution
{
    int width = 0;
    int height = 0;
};

/// The command line, checked: numbers are in the ranges the camera library takes.
struct Options
{
    Command command = Command::List;

    std::string library; ///< path of the camera library
    std::string desk; ///< simulated desk for the library, empty: leave the environment alone
    bool verbose = false;

    std::optional<std::string> device; ///< as matching() takes it; nothing: the first camera
    std::optional<Resolution> resolution;
    std::optional<int> quality;
    bool clean = false; ///< even out the light (snap, convert)
    int color = 0; ///< as KorvCamera_SetImageColorStyle
    int crop = -1; ///< as KorvCamera_SetAutoCrop
    int rotation = 0; ///< as KorvCamera_SetImageRotateMode

    int count = 1; ///< photographs (snap)
    int maximumEvents = 0; ///< events (watch), 0: no limit
    int intervalMs = 0; ///< least time between two photographs (snap), time between pages (scan)
    int timeoutMs = 10'000; ///< longest wait for a frame (snap, scan, doctor, focus)
    ScanOn scanOn = ScanOn::Turn;
    int pages = 0; ///< to scan, 0: until stopped
    bool resume = false; ///< go on with a scan that was killed
    bool quiet = false; ///< no sound
    bool progress = true; ///< show it where there is a terminal
    bool json = false; ///< results as JSON, one object a line
    int durationMs = 0; ///< length of a watch, 0: no limit

    bool settle = true; ///< wait until the picture has settled (snap)

    std::vector<ControlChange> changes; ///< of controls, in their order
    bool save = false; ///< keep the controls for the camera's model
    bool reset = false; ///< forget those that were kept
    bool lock = false; ///< keep the focus where it is (focus)

    std::vector<std::string> sources;
    std::string
        fromFile; ///< a file with more sources, one a line; "-": standard input; empty: none
    std::string destination; ///< "-": standard output
    std::string format; ///< of what goes to standard output: an extension
    bool writesToOutput() const { return destination == "-"; }
    bool force = false; ///< replace an existing destination (snap, scan, convert, combine, text)
    bool strict = false; ///< write no document when a page cannot be read
    bool card = false; ///< a card lies under the camera, no A4 sheet (calibrate)
    bool upright = false; ///< turn pages as their writing stands (scan, convert, combine)
    bool compact = false; ///< pages of writing in layers (scan, convert, combine)
    std::optional<std::string> title; ///< of the document; nothing: its file's name
    std::string listen = "127.0.0.1:8590"; ///< address and port of the scanner (serve)
    std::optional<std::string> scannerName; ///< nothing: the camera's
    std::string certificate; ///< PEM file, empty: no TLS (serve)
    std::string key; ///< PEM file
    bool announce = true; ///< by DNS-SD (serve)
    bool handsFree = false; ///< offer a feeder: a page each time one is turned (serve)
    int stillMs = 20'000; ///< when nothing moves for so long, the feeder is empty (serve)

    std::optional<std::string>
        text; ///< languages of the writing on pages; nothing: by the settings
    std::string pageSize; ///< as toPageSize() gives it; empty: the library's choice
};

} // namespace cli
