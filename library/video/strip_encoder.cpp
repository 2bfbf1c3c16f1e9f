#include "library/video/strip_encoder.h"

#include <array>
#include <cerrno>

namespace korv {

McuSize mcuOf(VideoLayout layout)
{
    switch (layout) {
    case VideoLayout::Yuyv:
    case VideoLayout::Uyvy:
        return {2 * DCTSIZE, DCTSIZE};
    case VideoLayout::Nv12:
    case VideoLayout::Yu12:
    case VideoLayout::Rgb24:
        return {2 * DCTSIZE, 2 * DCTSIZE};
    case VideoLayout::Gray:
        break;
    }
    return {DCTSIZE, DCTSIZE};
}

StripEncoder::StripEncoder(int quality)
    : m_quality(quality)
    , m_output(0)
{
    m_state.err = m_trap.manager();
    m_state.client_data = &m_trap;
    m_created = m_trap.run([this] { jpeg_create_compress(&m_state); });
    m_state.dest = m_output.manager();
}

StripEncoder::~StripEncoder()
{
    jpeg_destroy_compress(&m_state);
}

void StripEncoder::configure(const VideoPicture &picture, const Strip &strip)
{
    const bool gray = picture.layout == VideoLayout::Gray;
    const bool rgb = picture.layout == VideoLayout::Rgb24;
    m_state.image_width = static_cast<JDIMENSION>(picture.width);
    m_state.image_height = static_cast<JDIMENSION>(strip.end - strip.first);
    m_state.input_components = gray ? 1 : 3;
    m_state.in_color_space = gray ? JCS_GRAYSCALE : rgb ? JCS_RGB : JCS_YCbCr;
    jpeg_set_defaults(&m_state);
    jpeg_set_quality(&m_state, m_quality, TRUE);
    const McuSize mcu = mcuOf(picture.layout);
    m_state.comp_info[0].h_samp_factor = mcu.width / DCTSIZE;
    m_state.comp_info[0].v_samp_factor = mcu.height / DCTSIZE;
    m_state.raw_data_in = rgb ? FALSE : TRUE;
    m_state.dct_method = JDCT_ISLOW;
    m_state.restart_interval = strip.restartInterval;
}

void StripEncoder::writePlanes(const VideoPicture &picture, const Strip &strip)
{
    const int rowsAtOnce = mcuOf(picture.layout).height;
    for (int row = strip.first; row < strip.end; row += rowsAtOnce) {
        m_rows.fill(picture, row, rowsAtOnce);
        std::array<JSAMPARRAY, 3> planes{m_rows.luma(), m_rows.blue(), m_rows.red()};
        jpeg_write_raw_data(&m_state, planes.data(), static_cast<JDIMENSION>(rowsAtOnce));
    }
}

void StripEncoder::writeRgb(const VideoPicture &picture, const Strip &strip)
{
    for (int row = strip.first; row < strip.end; ++row) {
        // libjpeg's row type is not const, though the encoder only reads
        JSAMPROW samples = const_cast<JSAMPROW>(picture.bytes.data
                                                + picture.stride * static_cast<std::size_t>(row));
        jpeg_write_scanlines(&m_state, &samples, 1);
    }
}

Result<void> StripEncoder::encode(const VideoPicture &picture, const Strip &strip,
                                  std::size_t expected)
{
    if (!m_created)
        return Error{-ENOMEM, "JPEG: no memory for the encoder"};
    m_output.expect(expected);
    m_rows.prepare(picture);
    const bool done = m_trap.run([&] {
        configure(picture, strip);
        jpeg_start_compress(&m_state, TRUE);
        if (m_state.raw_data_in)
            writePlanes(picture, strip);
        else
            writeRgb(picture, strip);
        jpeg_finish_compress(&m_state);
    });
    if (!done) {
        jpeg_abort_compress(&m_state);
        return m_trap.error();
    }
    return {};
}

} // namespace korv
