#include "library/device/v4l2/v4l2_buffers.h"

#include <algorithm>
#include <cerrno>
#include <linux/videodev2.h>

namespace korv {
namespace {

v4l2_buffer captureBuffer(std::uint32_t index)
{
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

int requestBuffers(const V4l2Node &node, std::uint32_t &count)
{
    v4l2_requestbuffers request{};
    request.count = count;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    const int result = node.control(VIDIOC_REQBUFS, &request);
    count = request.count;
    return result;
}

} // namespace

Result<void> V4l2Buffers::allocate()
{
    std::uint32_t count = kCount;
    if (const int result = requestBuffers(m_node, count); result < 0)
        return systemError(-result, "VIDIOC_REQBUFS");
    m_allocated = true;
    if (count == 0)
        return Error{-ENOMEM, "the driver gives no buffers"};
    for (std::uint32_t index = 0; index < count; ++index) {
        if (Result<void> mapped = map(index); !mapped) {
            release();
            return mapped;
        }
    }
    return {};
}

Result<void> V4l2Buffers::map(std::uint32_t index)
{
    v4l2_buffer buffer = captureBuffer(index);
    if (const int result = m_node.control(VIDIOC_QUERYBUF, &buffer); result < 0)
        return systemError(-result, "VIDIOC_QUERYBUF");
    void *start = m_node.calls().map(m_node.descriptor(), buffer.length, buffer.m.offset);
    if (!start)
        return Error{-ENOMEM, "a buffer of the camera cannot be mapped"};
    m_mappings.push_back({start, buffer.length});
    return {};
}

Result<void> V4l2Buffers::streamOn()
{
    for (std::uint32_t index = 0; index < m_mappings.size(); ++index) {
        if (Result<void> queued = queue(index); !queued)
            return queued;
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (const int result = m_node.control(VIDIOC_STREAMON, &type); result < 0)
        return systemError(-result, "VIDIOC_STREAMON");
    m_streaming = true;
    return {};
}

void V4l2Buffers::streamOff()
{
    // also after a failed start: it takes back the buffers that were queued
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (m_allocated)
        m_node.control(VIDIOC_STREAMOFF, &type);
    m_streaming = false;
}

void V4l2Buffers::release()
{
    if (m_streaming)
        streamOff();
    for (const Mapping &mapping : m_mappings)
        m_node.calls().unmap(mapping.start, mapping.length);
    m_mappings.clear();
    std::uint32_t none = 0;
    if (m_allocated)
        requestBuffers(m_node, none);
    m_allocated = false;
}

Result<V4l2Buffers::Filled> V4l2Buffers::dequeue()
{
    v4l2_buffer buffer = captureBuffer(0);
    if (const int result = m_node.control(VIDIOC_DQBUF, &buffer); result < 0)
        return systemError(-result, "VIDIOC_DQBUF");
    if (buffer.index >= m_mappings.size())
        return Error{-EIO, "the driver returned a buffer that it does not have"};
    const Mapping &mapping = m_mappings[buffer.index];
    const std::size_t size = std::min<std::size_t>(buffer.bytesused, mapping.length);
    return Filled{buffer.index, {mapping.start, size}, (buffer.flags & V4L2_BUF_FLAG_ERROR) != 0};
}

Result<void> V4l2Buffers::queue(std::uint32_t index)
{
    v4l2_buffer buffer = captureBuffer(index);
    if (const int result = m_node.control(VIDIOC_QBUF, &buffer); result < 0)
        return systemError(-result, "VIDIOC_QBUF");
    return {};
}

} // namespace korv
