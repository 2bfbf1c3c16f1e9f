#pragma once

#include <string>
#include <variant>
#include <vector>

namespace cli {

/// What the scanner offers; requests are held against it.
struct ScannerLimits
{
    std::vector<int> resolutions; ///< dots per inch, ascending
    int maxWidth = 0; ///< of the platen, in 1/300 inch
    int maxHeight = 0;
    bool hasFeeder = false; ///< a page each time one is turned
};

enum class ScanColor { Color, Gray, Lineart };
enum class ScanFormat { Jpeg, Pdf };

/// Where pages come from: one from the desk, or one after the other as somebody turns them.
enum class ScanInput { Platen, Feeder };

/// A rectangle on the platen, in 1/300 inch.
struct ScanRegion
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/// What a client wants of one scan.
struct ScanSettings
{
    ScanColor color = ScanColor::Color;
    ScanFormat format = ScanFormat::Jpeg;
    ScanInput source = ScanInput::Platen;
    int resolution = 0; ///< dots per inch
    ScanRegion region;
};

/// Why a request cannot be carried out: the HTTP status, and one sentence.
struct SettingsRefusal
{
    unsigned status = 0; ///< 400: not a request at all; 409: asks for what is not offered
    std::string reason;
};

/// Reads the ScanSettings document of a client. Elements are known by their names regardless of the
/// prefix; unknown ones are ignored, missing ones have defaults: the whole platen, colour, JPEG, and
/// 300 dpi where that is offered. A region that reaches beyond the platen is cut. Declarations of
/// entities are not read.
std::variant<ScanSettings, SettingsRefusal> parseScanSettings(const std::string &xml,
                                                              const ScannerLimits &limits);

/// The MIME type of a format.
const char *mimeType(ScanFormat format);

} // namespace cli
