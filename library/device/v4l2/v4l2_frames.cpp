#include "library/device/v4l2/v4l2_frames.h"

#include "library/device/v4l2/v4l2_modes.h"
#include "library/jpeg/rework/jpeg_repair.h"

#include <algorithm>
#include <cerrno>

namespace korv {
namespace {

/// Hardly to be told from the camera's picture, at a third of the bytes of 100.
constexpr int kQuality = 92;

} // namespace

V4l2Frames::V4l2Frames(const V4l2Format &format)
    : m_format(format)
    , m_layout(layoutOf(format.pixelFormat))
    , m_encoder(kQuality)
{
}

Result<Frame> V4l2Frames::make(ByteView bytes)
{
    Result<Frame> frame = m_layout ? encoded(bytes) : checked(bytes);
    if (!frame)
        return frame;
    const Frame &made = frame.value();
    const std::uint64_t room =
        static_cast<std::uint64_t>(made.width) * static_cast<std::uint64_t>(made.height) * 3;
    if (made.jpeg.size >= room)
        return Error{-EBADMSG, "a frame longer than its picture"};
    return frame;
}

Result<Frame> V4l2Frames::checked(ByteView bytes)
{
    const Result<jpeg::Structure> read = jpeg::readStructure(bytes);
    if (!read)
        return read.error();
    const jpeg::Structure &structure = read.value();
    if (structure.lumaSteps == 0)
        return Error{-EBADMSG, "a JPEG without quantisation tables"};
    // the picture says its own size; drivers are known to be wrong
    Frame frame{bytes.first(structure.end), structure.info.width, structure.info.height};
    if ((structure.missingDcTables | structure.missingAcTables) == 0)
        return frame;
    if (Result<void> added = jpeg::addHuffmanTables(bytes, structure, m_mended); !added)
        return added.error();
    frame.jpeg = m_mended;
    return frame;
}

Result<Frame> V4l2Frames::encoded(ByteView bytes)
{
    VideoPicture picture;
    picture.bytes = bytes;
    picture.layout = *m_layout;
    picture.width = m_format.width;
    picture.height = m_format.height;
    picture.stride = std::max(m_format.stride, leastStride(*m_layout, m_format.width));
    picture.fullRange = m_format.fullRange;
    const Result<ByteView> jpeg = m_encoder.encode(picture);
    if (!jpeg)
        return jpeg.error();
    return Frame{jpeg.value(), m_format.width, m_format.height};
}

} // namespace korv
