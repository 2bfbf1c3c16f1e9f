#include "library/device/row_jpeg.h"

#include "library/imaging/jpeg_trap.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

namespace korv {
namespace {

constexpr std::uint8_t kMarker = 0xFF;
constexpr std::uint8_t kStartOfScan = 0xDA;
constexpr std::uint8_t kFirstRestart = 0xD0;
constexpr std::uint8_t kEndOfImage = 0xD9;
constexpr std::size_t kRestartCycle = 8; // RST0 to RST7, T.81, B.1.1.3

/// Owns what libjpeg allocates, because a failing call does not come back to release it.
struct Compressor
{
    jpeg::Trap trap;
    jpeg_compress_struct state{};
    unsigned char *output = nullptr;
    unsigned long size = 0;
    bool finished = false;

    Compressor()
    {
        state.err = trap.manager();
        state.client_data = &trap;
    }
    ~Compressor()
    {
        jpeg_destroy_compress(&state);
        if (finished) // until then libjpeg may have moved the data and left `output` behind
            std::free(output);
    }
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    void compress(const Image &image, int quality)
    {
        jpeg_create_compress(&state);
        jpeg_mem_dest(&state, &output, &size);
        state.image_width = static_cast<JDIMENSION>(image.width());
        state.image_height = static_cast<JDIMENSION>(image.height());
        state.input_components = 3;
        state.in_color_space = JCS_RGB;
        jpeg_set_defaults(&state); // 4:2:0 and the standard Huffman tables
        jpeg_set_quality(&state, quality, TRUE);
        state.restart_in_rows = 1;
        jpeg_start_compress(&state, TRUE);
        while (state.next_scanline < state.image_height) {
            // libjpeg's rows are not const; it only reads them
            JSAMPROW row = const_cast<JSAMPROW>(image.row(static_cast<int>(state.next_scanline)));
            jpeg_write_scanlines(&state, &row, 1);
        }
        jpeg_finish_compress(&state);
        finished = true;
    }
};

/// Where the entropy-coded data begin: behind the SOS segment of a file that libjpeg has just
/// written.
std::size_t startOfData(const Bytes &bytes)
{
    std::size_t at = 2; // behind SOI
    while (true) {
        const bool isScan = bytes[at + 1] == kStartOfScan;
        at += 2 + (std::size_t{bytes[at + 2]} << 8 | bytes[at + 3]);
        if (isScan)
            return at;
    }
}

} // namespace

Result<RowJpeg> RowJpeg::encode(const Image &image, int quality)
{
    assert(image.format() == PixelFormat::Rgb24 && !image.empty());
    Compressor compressor;
    if (!compressor.trap.run([&] { compressor.compress(image, quality); }))
        return compressor.trap.error();
    return RowJpeg(Bytes(compressor.output, compressor.output + compressor.size));
}

RowJpeg::RowJpeg(Bytes bytes)
    : m_bytes(std::move(bytes))
{
    std::size_t rowStart = startOfData(m_bytes);
    std::size_t at = rowStart;
    while (true) {
        // data bytes of 0xFF are followed by 0x00 (T.81, F.1.2.3), so markers are found by looking
        const void *found = std::memchr(&m_bytes[at], kMarker, m_bytes.size() - at);
        at = static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - m_bytes.data());
        const std::uint8_t code = m_bytes[at + 1];
        if (code == kEndOfImage || (code & 0xF8) == kFirstRestart) {
            m_rows.push_back({rowStart, at});
            rowStart = at + 2;
        }
        if (code == kEndOfImage)
            return;
        at += 2;
    }
}

ByteView RowJpeg::before(std::size_t row) const
{
    return ByteView(m_bytes).first(m_rows.at(row).start);
}

void RowJpeg::appendRows(Bytes &frame, std::size_t firstRow) const
{
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const auto start = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_rows[row].start);
        const auto end = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_rows[row].end);
        frame.insert(frame.end(), start, end);
        frame.push_back(kMarker);
        const bool isLast = row + 1 == m_rows.size();
        const std::size_t restart = (firstRow + row) % kRestartCycle;
        frame.push_back(isLast ? kEndOfImage : static_cast<std::uint8_t>(kFirstRestart + restart));
    }
}

} // namespace korv
