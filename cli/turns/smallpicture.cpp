#include "cli/turns/smallpicture.h"

#include "cli/turns/darkest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace cli {
namespace {

constexpr unsigned kMaxSide = 20'000;

struct ErrorManager
{
    jpeg_error_mgr base; // first: libjpeg hands back a pointer to it
    std::jmp_buf escape;
};

[[noreturn]] void escapeFrom(j_common_ptr info)
{
    std::longjmp(reinterpret_cast<ErrorManager *>(info->err)->escape, 1);
}

void stayQuiet(j_common_ptr) { }

/// One decode. longjmp only ever leaves frames of libjpeg and of the two functions below, which hold
/// nothing that needs destruction.
class Decode
{
public:
    Decode()
    {
        m_info.err = jpeg_std_error(&m_errors.base);
        m_errors.base.error_exit = escapeFrom;
        m_errors.base.output_message = stayQuiet;
    }
    ~Decode() { jpeg_destroy_decompress(&m_info); }
    Decode(const Decode &) = delete;
    Decode &operator=(const Decode &) = delete;

    bool readHeader(const unsigned char *jpeg, std::size_t size)
    {
        if (setjmp(m_errors.escape) != 0)
            return false;
        jpeg_create_decompress(&m_info);
        jpeg_mem_src(&m_info, jpeg, static_cast<unsigned long>(size));
        if (jpeg_read_header(&m_info, TRUE) != JPEG_HEADER_OK)
            return false;
        const bool hasLuma = m_info.jpeg_color_space == JCS_YCbCr
            || m_info.jpeg_color_space == JCS_GRAYSCALE || m_info.jpeg_color_space == JCS_RGB;
        return hasLuma && m_info.image_width <= kMaxSide && m_info.image_height <= kMaxSide;
    }

    /// The size that the reduction leaves.
    void reduce(int minWidth, J_COLOR_SPACE colours, int &width, int &height)
    {
        unsigned denominator = 8;
        while (denominator > 1
               && m_info.image_width / denominator < static_cast<unsigned>(minWidth))
            denominator /= 2;
        m_info.scale_num = 1;
        m_info.scale_denom = denominator;
        m_info.out_color_space = colours;
        m_info.do_fancy_upsampling = FALSE;
        m_info.dct_method = JDCT_IFAST;
        m_info.do_block_smoothing = FALSE;
        width = static_cast<int>((m_info.image_width + denominator - 1) / denominator);
        height = static_cast<int>((m_info.image_height + denominator - 1) / denominator);
    }

    bool readRows(std::uint8_t *pixels, int bytesInRow)
    {
        if (setjmp(m_errors.escape) != 0)
            return false;
        jpeg_start_decompress(&m_info);
        while (m_info.output_scanline < m_info.output_height) {
            JSAMPROW row =
                pixels + static_cast<std::ptrdiff_t>(m_info.output_scanline) * bytesInRow;
            jpeg_read_scanlines(&m_info, &row, 1);
        }
        jpeg_finish_decompress(&m_info);
        return true;
    }

private:
    ErrorManager m_errors{};
    jpeg_decompress_struct m_info{};
};

std::array<float, 256> logarithms()
{
    std::array<float, 256> table{};
    for (std::size_t level = 0; level < table.size(); ++level)
        table[level] = std::log(static_cast<float>(level) + kDarkest);
    return table;
}

} // namespace

bool decodeSmall(const unsigned char *jpeg, std::size_t size, int minWidth, SmallPicture &picture)
{
    Decode decode;
    if (!jpeg || size < 2 || !decode.readHeader(jpeg, size))
        return false;
    decode.reduce(minWidth, JCS_GRAYSCALE, picture.width, picture.height);
    picture.gray.resize(static_cast<std::size_t>(picture.width)
                        * static_cast<std::size_t>(picture.height));
    return decode.readRows(picture.gray.data(), picture.width);
}

bool decodeSmall(const unsigned char *jpeg, std::size_t size, int minWidth,
                 SmallColourPicture &picture)
{
    Decode decode;
    if (!jpeg || size < 2 || !decode.readHeader(jpeg, size))
        return false;
    decode.reduce(minWidth, JCS_RGB, picture.width, picture.height);
    picture.rgb.resize(static_cast<std::size_t>(picture.width)
                       * static_cast<std::size_t>(picture.height) * 3);
    return decode.readRows(picture.rgb.data(), picture.width * 3);
}

double sharpnessOf(const SmallPicture &picture)
{
    // a change of light multiplies all pixels, and differences of logarithms do not see it
    static const std::array<float, 256> kLogarithm = logarithms();
    double sum = 0;
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t *const row = picture.row(y);
        float line = 0;
        for (int x = 1; x + 1 < picture.width; ++x) {
            const float bend =
                2 * kLogarithm[row[x]] - kLogarithm[row[x - 1]] - kLogarithm[row[x + 1]];
            line += bend * bend;
        }
        sum += static_cast<double>(line);
    }
    return sum / std::max<double>(1, static_cast<double>(picture.gray.size()));
}

} // namespace cli
