#include "library/settling/frame_measure.h"

#include "library/jpeg/jpeg_trap.h"

#include <cstdint>
#include <vector>

namespace korv {
namespace {

/// The sums over the pixels of a picture, row by row.
class Sums
{
public:
    void add(const std::uint8_t *row, std::size_t width)
    {
        std::uint64_t luma = 0;
        std::uint64_t squares = 0;
        for (std::size_t x = 0; x < width; ++x)
            luma += row[x];
        for (std::size_t x = 1; x + 1 < width; ++x) {
            const int second = 2 * row[x] - row[x - 1] - row[x + 1];
            squares += static_cast<std::uint32_t>(second * second);
        }
        m_luma += luma;
        m_squares += squares;
        m_pixels += width;
    }
    std::optional<FrameMeasure> measure() const
    {
        if (m_pixels == 0)
            return std::nullopt;
        const auto pixels = static_cast<double>(m_pixels);
        return FrameMeasure{static_cast<double>(m_luma) / pixels,
                            static_cast<double>(m_squares) / pixels};
    }

private:
    std::uint64_t m_luma = 0;
    std::uint64_t m_squares = 0;
    std::uint64_t m_pixels = 0;
};

/// libjpeg's decompressor, at half the size and without colours.
class HalfDecoder
{
public:
    HalfDecoder()
    {
        m_state.err = m_trap.manager();
        m_state.client_data = &m_trap;
    }
    ~HalfDecoder() { jpeg_destroy_decompress(&m_state); }
    HalfDecoder(const HalfDecoder &) = delete;
    HalfDecoder &operator=(const HalfDecoder &) = delete;

    bool open(ByteView data)
    {
        return m_trap.run([&] {
            jpeg_create_decompress(&m_state);
            m_state.client_data = &m_trap;
            m_state.mem->max_memory_to_use = jpeg::kMaxDecoderMemory;
            m_progress.progress_monitor = jpeg::ErrorTrap::onProgress;
            m_state.progress = &m_progress;
            jpeg_mem_src(&m_state, data.data, static_cast<unsigned long>(data.size));
            jpeg_read_header(&m_state, TRUE);
            m_state.out_color_space = JCS_GRAYSCALE;
            m_state.scale_num = 1;
            m_state.scale_denom = 2;
            m_state.dct_method = JDCT_IFAST;
            m_state.do_fancy_upsampling = FALSE;
            jpeg_start_decompress(&m_state);
        });
    }
    std::size_t width() const { return m_state.output_width; }
    bool read(std::vector<std::uint8_t> &row, Sums &sums)
    {
        return m_trap.run([&] {
            JSAMPROW rows[1] = {row.data()};
            while (m_state.output_scanline < m_state.output_height) {
                jpeg_read_scanlines(&m_state, rows, 1);
                sums.add(row.data(), row.size());
            }
        });
    }

private:
    jpeg::ErrorTrap m_trap;
    jpeg_decompress_struct m_state{};
    jpeg_progress_mgr m_progress{};
};

} // namespace

std::optional<FrameMeasure> measureFrame(ByteView jpeg)
{
    HalfDecoder decoder;
    if (!decoder.open(jpeg))
        return std::nullopt;
    std::vector<std::uint8_t> row(decoder.width());
    Sums sums;
    if (!decoder.read(row, sums))
        return std::nullopt;
    return sums.measure();
}

} // namespace korv
