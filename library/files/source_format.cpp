#include "library/files/source_format.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

namespace korv {

namespace {

using namespace std::string_view_literals;

struct Kind
{
    SourceFormat format;
    const char *extension;
    std::string_view start; ///< of the content
};

constexpr Kind kKinds[] = {
    {SourceFormat::Jpeg, ".jpg", "\xFF\xD8\xFF"sv},
    {SourceFormat::Png, ".png", "\x89PNG\r\n\x1A\n"sv},
    {SourceFormat::Bmp, ".bmp", "BM"sv},
    // little- and big-endian, classic and BigTIFF
    {SourceFormat::Tiff, ".tif", "II*\0"sv},
    {SourceFormat::Tiff, ".tif", "MM\0*"sv},
    {SourceFormat::Tiff, ".tif", "II+\0"sv},
    {SourceFormat::Tiff, ".tif", "MM\0+"sv},
};

} // namespace

SourceFormat recogniseFormat(ByteView content)
{
    const auto *found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind &kind) {
        return content.size >= kind.start.size()
            && std::memcmp(content.data, kind.start.data(), kind.start.size()) == 0;
    });
    return found == std::end(kKinds) ? SourceFormat::Unknown : found->format;
}

const char *extensionFor(SourceFormat format)
{
    const auto *found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                     [&](const Kind &kind) { return kind.format == format; });
    return found == std::end(kKinds) ? "" : found->extension;
}

} // namespace korv
