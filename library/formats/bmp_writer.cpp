#include "library/formats/bmp_writer.h"

#include "library/formats/packed_bits.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

namespace korv {

namespace {

using littleendian::put16;
using littleendian::put32;

constexpr std::size_t kHeaders = 14 + 40;
constexpr std::size_t kChunk = 256 * 1024;

struct Layout
{
    unsigned bits = 24;
    std::uint32_t colours = 0;
    std::size_t stride = 0; ///< rows are padded to four bytes
    std::uint64_t fileSize = 0;

    std::size_t pixelsAt() const { return kHeaders + 4 * std::size_t{colours}; }
};

Layout layoutOf(const Image &image)
{
    Layout layout;
    if (image.format() == PixelFormat::Gray8) {
        layout.bits = image.isBilevel() ? 1 : 8;
        layout.colours = 1U << layout.bits;
    }
    layout.stride = (static_cast<std::size_t>(image.width()) * layout.bits + 31) / 32 * 4;
    layout.fileSize =
        layout.pixelsAt() + std::uint64_t{layout.stride} * static_cast<unsigned>(image.height());
    return layout;
}

Bytes headers(const Image &image, const Layout &layout, const Resolution &resolution)
{
    const auto perMetre = [](double dpi) {
        return static_cast<std::uint32_t>(std::lround(dpi / 0.0254));
    };
    Bytes head = {'B', 'M'};
    put32(head, static_cast<std::uint32_t>(layout.fileSize));
    put32(head, 0);
    put32(head, static_cast<std::uint32_t>(layout.pixelsAt()));
    put32(head, 40);
    put32(head, static_cast<std::uint32_t>(image.width()));
    put32(head, static_cast<std::uint32_t>(image.height()));
    put16(head, 1);
    put16(head, layout.bits);
    put32(head, 0);
    put32(head, static_cast<std::uint32_t>(layout.fileSize - layout.pixelsAt()));
    put32(head, perMetre(resolution.x));
    put32(head, perMetre(resolution.y));
    put32(head, layout.colours);
    put32(head, 0);
    for (std::uint32_t i = 0; i < layout.colours; ++i) {
        const std::uint32_t level = i * 255 / (layout.colours - 1);
        put32(head, level << 16 | level << 8 | level);
    }
    return head;
}

void fillRow(const Image &image, const Layout &layout, int y, std::uint8_t *out)
{
    const std::uint8_t *in = image.row(y);
    if (layout.bits == 1) {
        packRow(in, image.width(), SetBit::White, out);
    } else if (layout.bits == 8) {
        std::memcpy(out, in, image.stride());
    } else {
        for (int x = 0; x < image.width(); ++x, in += 3, out += 3) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
        }
    }
}

} // namespace

Result<void> writeBmp(const Image &image, const BmpOptions &options, ByteSink &sink)
{
    const Layout layout = layoutOf(image);
    if (layout.fileSize > std::numeric_limits<std::uint32_t>::max())
        return Error{-EFBIG, "picture too large for BMP"};
    if (Result<void> written = sink.write(headers(image, layout, options.resolution)); !written)
        return written;
    const int rowsAtOnce = static_cast<int>(std::max<std::size_t>(1, kChunk / layout.stride));
    Bytes chunk(layout.stride * static_cast<std::size_t>(rowsAtOnce));
    for (int below = image.height(); below > 0; below -= rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, below);
        for (int i = 0; i < rows; ++i)
            fillRow(image, layout, below - 1 - i,
                    chunk.data() + layout.stride * static_cast<std::size_t>(i));
        const std::size_t filled = layout.stride * static_cast<std::size_t>(rows);
        if (Result<void> written = sink.write(ByteView(chunk).first(filled)); !written)
            return written;
    }
    return {};
}

} // namespace korv
