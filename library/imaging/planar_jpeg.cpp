#include "library/imaging/planar_jpeg.h"

#include "library/imaging/image.h"
#include "library/imaging/jpeg_trap.h"
#include "library/imaging/video_rows.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

namespace korv {

std::size_t leastStride(VideoLayout layout, int width)
{
    const auto pixels = static_cast<std::size_t>(std::max(width, 0));
    switch (layout) {
    case VideoLayout::Yuyv:
    case VideoLayout::Uyvy:
        return (pixels + 1) / 2 * 4;
    case VideoLayout::Rgb24:
        return pixels * 3;
    case VideoLayout::Nv12:
    case VideoLayout::Yu12:
        return (pixels + 1) / 2 * 2;
    case VideoLayout::Gray:
        break;
    }
    return pixels;
}

std::size_t videoPictureSize(const VideoPicture &picture)
{
    const auto rows = static_cast<std::size_t>(std::max(picture.height, 0));
    const std::size_t least = leastStride(picture.layout, picture.width);
    if (rows == 0 || picture.stride < least)
        return 0;
    const bool planar = picture.layout == VideoLayout::Nv12 || picture.layout == VideoLayout::Yu12;
    // the padding behind the last row need not be there
    return planar ? picture.stride * rows + picture.stride * ((rows + 1) / 2)
                  : picture.stride * (rows - 1) + least;
}

class PlanarJpegEncoder::Work
{
public:
    explicit Work(int quality)
        : m_quality(quality)
    {
        m_state.err = m_trap.manager();
        m_state.client_data = &m_trap;
        m_created = m_trap.run([this] { jpeg_create_compress(&m_state); });
        m_target.self = this;
        m_target.manager.init_destination = onInit;
        m_target.manager.empty_output_buffer = onFull;
        m_target.manager.term_destination = onTerm;
        m_state.dest = &m_target.manager;
    }
    ~Work() { jpeg_destroy_compress(&m_state); }
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;

    Result<ByteView> encode(const VideoPicture &picture);

private:
    struct Target
    {
        jpeg_destination_mgr manager{}; ///< first: libjpeg hands back a pointer to it
        Work *self = nullptr;
    };

    static Work *workOf(j_compress_ptr state)
    {
        return reinterpret_cast<Target *>(state->dest)->self;
    }
    static void onInit(j_compress_ptr state) { workOf(state)->offer(0); }
    static boolean onFull(j_compress_ptr state);
    static void onTerm(j_compress_ptr state)
    {
        Work *work = workOf(state);
        work->m_used = work->m_bytes.size() - work->m_target.manager.free_in_buffer;
    }
    bool grow();
    void offer(std::size_t from)
    {
        m_target.manager.next_output_byte = m_bytes.data() + from;
        m_target.manager.free_in_buffer = m_bytes.size() - from;
    }

    void configure(const VideoPicture &picture);
    void writePlanes(const VideoPicture &picture);
    void writeRgb(const VideoPicture &picture);

    const int m_quality;
    jpeg::Trap m_trap;
    jpeg_compress_struct m_state{};
    bool m_created = false;
    Target m_target;
    Bytes m_bytes;
    std::size_t m_used = 0;
    VideoRows m_rows;
};

boolean PlanarJpegEncoder::Work::onFull(j_compress_ptr state)
{
    // libjpeg's rule: the whole buffer counts as written here, whatever the counters say
    Work *work = workOf(state);
    const std::size_t used = work->m_bytes.size();
    if (!work->grow())
        work->m_trap.fail(-ENOMEM);
    work->offer(used);
    return TRUE;
}

bool PlanarJpegEncoder::Work::grow()
{
    try {
        m_bytes.resize(m_bytes.size() * 2);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void PlanarJpegEncoder::Work::configure(const VideoPicture &picture)
{
    const bool gray = picture.layout == VideoLayout::Gray;
    m_state.image_width = static_cast<JDIMENSION>(picture.width);
    m_state.image_height = static_cast<JDIMENSION>(picture.height);
    m_state.input_components = gray ? 1 : 3;
    m_state.in_color_space = gray              ? JCS_GRAYSCALE
        : picture.layout == VideoLayout::Rgb24 ? JCS_RGB
                                               : JCS_YCbCr;
    jpeg_set_defaults(&m_state);
    jpeg_set_quality(&m_state, m_quality, TRUE);
    const bool fullHeightChroma =
        picture.layout == VideoLayout::Yuyv || picture.layout == VideoLayout::Uyvy;
    m_state.comp_info[0].h_samp_factor = gray ? 1 : 2;
    m_state.comp_info[0].v_samp_factor = gray || fullHeightChroma ? 1 : 2;
    m_state.raw_data_in = picture.layout == VideoLayout::Rgb24 ? FALSE : TRUE;
    m_state.dct_method = JDCT_ISLOW;
}

void PlanarJpegEncoder::Work::writePlanes(const VideoPicture &picture)
{
    const int rowsAtOnce = m_state.comp_info[0].v_samp_factor * DCTSIZE;
    while (m_state.next_scanline < m_state.image_height) {
        m_rows.fill(picture, static_cast<int>(m_state.next_scanline), rowsAtOnce);
        std::array<JSAMPARRAY, 3> planes{m_rows.luma(), m_rows.blue(), m_rows.red()};
        jpeg_write_raw_data(&m_state, planes.data(), static_cast<JDIMENSION>(rowsAtOnce));
    }
}

void PlanarJpegEncoder::Work::writeRgb(const VideoPicture &picture)
{
    while (m_state.next_scanline < m_state.image_height) {
        // libjpeg's row type is not const, though the encoder only reads
        JSAMPROW row =
            const_cast<JSAMPROW>(picture.bytes.data + picture.stride * m_state.next_scanline);
        jpeg_write_scanlines(&m_state, &row, 1);
    }
}

Result<ByteView> PlanarJpegEncoder::Work::encode(const VideoPicture &picture)
{
    if (!m_created)
        return Error{-ENOMEM, "JPEG: no memory for the encoder"};
    m_bytes.resize(std::max<std::size_t>(m_bytes.size(), picture.bytes.size / 4 + 4096));
    m_rows.prepare(picture);
    const bool done = m_trap.run([&] {
        configure(picture);
        jpeg_start_compress(&m_state, TRUE);
        if (m_state.raw_data_in)
            writePlanes(picture);
        else
            writeRgb(picture);
        jpeg_finish_compress(&m_state);
    });
    if (!done) {
        jpeg_abort_compress(&m_state);
        return m_trap.error();
    }
    return ByteView(m_bytes).first(m_used);
}

PlanarJpegEncoder::PlanarJpegEncoder(int quality)
    : m_work(std::make_unique<Work>(quality))
{
}

PlanarJpegEncoder::~PlanarJpegEncoder() = default;

Result<ByteView> PlanarJpegEncoder::encode(const VideoPicture &picture)
{
    if (!isReasonableSize(picture.width, picture.height)
        || picture.stride < leastStride(picture.layout, picture.width))
        return Error{-EINVAL, "the video picture's size is not possible"};
    if (picture.bytes.size < videoPictureSize(picture))
        return Error{-EBADMSG, "the video picture is incomplete"};
    try {
        return m_work->encode(picture);
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "JPEG: no memory for the encoded picture"};
    }
}

} // namespace korv
