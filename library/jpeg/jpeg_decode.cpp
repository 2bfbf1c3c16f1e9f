#include "library/jpeg/jpeg.h"

#include "library/image/colour_profile.h"
#include "library/jpeg/jpeg_segments.h"
#include "library/jpeg/jpeg_structure.h"
#include "library/jpeg/jpeg_trap.h"

#include <cerrno>
#include <new>

namespace korv::jpeg {

namespace {

constexpr std::uint8_t kBilevelThreshold = 128;

class Decompressor
{
public:
    Decompressor()
    {
        m_state.err = m_trap.manager();
        m_state.client_data = &m_trap;
    }
    ~Decompressor() { jpeg_destroy_decompress(&m_state); }
    Decompressor(const Decompressor &) = delete;
    Decompressor &operator=(const Decompressor &) = delete;

    Error error() const { return m_trap.error(); }
    bool open(ByteView data, bool gray);
    bool readRows(Image &image, const std::function<void(int)> *rowsDone = nullptr);
    bool readCmykRows(Image &image, Bytes &row);
    bool readCmykRows(Image &image, Bytes &row, const ColourProfile &inks);
    bool isCmyk() const { return m_state.out_color_space == JCS_CMYK; }
    int width() const { return static_cast<int>(m_state.output_width); }
    int height() const { return static_cast<int>(m_state.output_height); }
    int channels() const { return m_state.output_components; }

private:
    ErrorTrap m_trap;
    jpeg_decompress_struct m_state{};
    jpeg_progress_mgr m_progress{};
};

bool Decompressor::open(ByteView data, bool gray)
{
    return m_trap.run([&] {
        jpeg_create_decompress(&m_state);
        m_state.client_data = &m_trap;
        m_state.mem->max_memory_to_use = kMaxDecoderMemory;
        m_progress.progress_monitor = ErrorTrap::onProgress;
        m_state.progress = &m_progress;
        jpeg_mem_src(&m_state, data.data, static_cast<unsigned long>(data.size));
        jpeg_read_header(&m_state, TRUE);
        if (m_state.num_components == 4)
            m_state.out_color_space = JCS_CMYK;
        else if (m_state.num_components == 1 || gray)
            m_state.out_color_space = JCS_GRAYSCALE;
        else
            m_state.out_color_space = JCS_RGB;
        jpeg_start_decompress(&m_state);
    });
}

bool Decompressor::readRows(Image &image, const std::function<void(int)> *rowsDone)
{
    constexpr int kRowsAtOnce = 16;
    return m_trap.run([&] {
        JSAMPROW rows[kRowsAtOnce];
        while (m_state.output_scanline < m_state.output_height) {
            const int first = static_cast<int>(m_state.output_scanline);
            const int count = std::min(kRowsAtOnce, image.height() - first);
            for (int i = 0; i < count; ++i)
                rows[i] = image.row(first + i);
            jpeg_read_scanlines(&m_state, rows, static_cast<JDIMENSION>(count));
            if (rowsDone != nullptr)
                (*rowsDone)(static_cast<int>(m_state.output_scanline));
        }
        jpeg_finish_decompress(&m_state);
    });
}

bool Decompressor::readCmykRows(Image &image, Bytes &row)
{
    return m_trap.run([&] {
        // Adobe stores the inks inverted: 255 is no ink. Without its marker it is the other way.
        const unsigned flip = m_state.saw_Adobe_marker ? 0 : 255;
        while (m_state.output_scanline < m_state.output_height) {
            std::uint8_t *out = image.row(static_cast<int>(m_state.output_scanline));
            JSAMPROW in = row.data();
            jpeg_read_scanlines(&m_state, &in, 1);
            const int channels = image.channels();
            for (int x = 0; x < image.width(); ++x, in += 4, out += channels) {
                const unsigned black = in[3] ^ flip;
                unsigned ink[3];
                for (int i = 0; i < 3; ++i)
                    ink[i] = (in[i] ^ flip) * black / 255;
                if (channels == 3) {
                    for (int i = 0; i < 3; ++i)
                        out[i] = static_cast<std::uint8_t>(ink[i]);
                } else {
                    out[0] = static_cast<std::uint8_t>(
                        (299 * ink[0] + 587 * ink[1] + 114 * ink[2] + 500) / 1000);
                }
            }
        }
        jpeg_finish_decompress(&m_state);
    });
}

bool Decompressor::readCmykRows(Image &image, Bytes &row, const ColourProfile &inks)
{
    return m_trap.run([&] {
        while (m_state.output_scanline < m_state.output_height) {
            std::uint8_t *out = image.row(static_cast<int>(m_state.output_scanline));
            JSAMPROW in = row.data();
            jpeg_read_scanlines(&m_state, &in, 1);
            // a profile counts inks: 255 is most
            if (m_state.saw_Adobe_marker) {
                for (std::uint8_t &ink : row)
                    ink = static_cast<std::uint8_t>(255 - ink);
            }
            inks.toSrgb(row.data(), out, static_cast<std::size_t>(image.width()));
        }
        jpeg_finish_decompress(&m_state);
    });
}

void makeBilevel(Image &image)
{
    const std::size_t count = image.stride() * static_cast<std::size_t>(image.height());
    std::uint8_t *pixel = image.pixels();
    for (std::size_t i = 0; i < count; ++i)
        pixel[i] = pixel[i] >= kBilevelThreshold ? 255 : 0;
    image.setBilevel(true);
}

} // namespace

bool isPlausible(const Info &info, std::size_t size)
{
    constexpr std::int64_t kMaxPixelsPerByte = std::int64_t{8} * 64;
    // with arithmetic coding a blank picture of any size takes two hundred bytes
    constexpr std::int64_t kBelievedPixels = 32'000'000;
    constexpr std::int64_t kMaxArithmeticPixelsPerByte = 4096;
    const std::int64_t pixels = std::int64_t{info.width} * info.height;
    const auto bytes = static_cast<std::int64_t>(size);
    if (!info.huffman)
        return pixels <= kBelievedPixels || pixels / kMaxArithmeticPixelsPerByte <= bytes;
    return pixels / kMaxPixelsPerByte <= bytes;
}

namespace {

/// Whether it is worth taking memory for such a picture.
Result<Structure> readPlausibleHeaders(ByteView data)
{
    Result<Structure> structure = readHeaders(data);
    if (!structure)
        return structure;
    const Info &info = structure.value().info;
    if (!isSupportedSize(info.width, info.height))
        return Error{-EFBIG, "JPEG: picture too large"};
    if (!isPlausible(info, data.size))
        return Error{-EBADMSG, "JPEG: file too small for its stated dimensions"};
    return structure;
}

/// Four inks as red, green and blue: by the profile, or else simply by what they leave of the light.
bool readInks(Decompressor &decompressor, ByteView profile, Image &image)
{
    Bytes row(static_cast<std::size_t>(image.width()) * 4);
    if (image.format() == PixelFormat::Rgb24 && !profile.empty()) {
        if (const auto inks = ColourProfile::read(profile, ProfilePixels::Cmyk))
            return decompressor.readCmykRows(image, row, *inks);
    }
    return decompressor.readCmykRows(image, row);
}

} // namespace

Result<Image> decode(ByteView data, const DecodeOptions &options)
{
    const Result<Structure> structure = readPlausibleHeaders(data);
    if (!structure)
        return structure.error();
    const Info &info = structure.value().info;
    const bool gray = options.gray || info.components == 1;
    try {
        const Bytes profile = profileOf(data, structure.value());
        Decompressor decompressor;
        if (!decompressor.open(data, gray))
            return decompressor.error();
        if (!isSupportedSize(decompressor.width(), decompressor.height()))
            return Error{-EFBIG, "JPEG: picture too large"};
        Image image(decompressor.width(), decompressor.height(),
                    gray ? PixelFormat::Gray8 : PixelFormat::Rgb24);
        if (decompressor.isCmyk()) {
            if (!readInks(decompressor, profile, image))
                return decompressor.error();
        } else if (decompressor.channels() != image.channels()) {
            return Error{-EBADMSG, "JPEG: headers contradict each other"};
        } else if (!decompressor.readRows(image)) {
            return decompressor.error();
        }
        image.setResolution(info.resolution);
        if (info.bilevel && info.components == 1)
            makeBilevel(image);
        // luma alone has no colours that the profile could describe
        if (!decompressor.isCmyk() && gray == (info.components == 1))
            convertToSrgb(image, profile);
        return image;
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "JPEG: no memory for the picture"};
    }
}

Result<void> decodeInto(ByteView data, Image &image, const std::function<void(int)> &rowsDone)
{
    const Result<Structure> structure = readPlausibleHeaders(data);
    if (!structure)
        return structure.error();
    Decompressor decompressor;
    if (!decompressor.open(data, image.format() == PixelFormat::Gray8))
        return decompressor.error();
    if (decompressor.isCmyk() || decompressor.channels() != image.channels()
        || decompressor.width() != image.width() || decompressor.height() != image.height())
        return Error{-EBADMSG, "JPEG: not the kind of picture that was expected"};
    if (!decompressor.readRows(image, &rowsDone))
        return decompressor.error();
    return {};
}

} // namespace korv::jpeg
