#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/device/v4l2/v4l2_calls.h"

#include <cstdint>
#include <vector>

namespace korv {

/// The buffers a driver fills, mapped into memory. The node is borrowed and must outlive them.
/// Destruction unmaps them and gives them back to the driver, so that others can use the camera.
class V4l2Buffers
{
public:
    /// What a driver is asked for; it may give more or fewer.
    static constexpr std::uint32_t kCount = 4;

    /// A buffer the driver has filled, or given back empty.
    struct Filled
    {
        std::uint32_t index = 0;
        ByteView bytes;
        bool damaged = false; ///< flagged as an error by the driver
    };

    explicit V4l2Buffers(const V4l2Node &node)
        : m_node(node)
    {
    }
    ~V4l2Buffers() { release(); }
    V4l2Buffers(const V4l2Buffers &) = delete;
    V4l2Buffers &operator=(const V4l2Buffers &) = delete;

    /// Gets and maps the buffers. -EBUSY another program has some, -ENOMEM, -ENODEV.
    Result<void> allocate();
    std::size_t count() const { return m_mappings.size(); }
    /// Hands all buffers to the driver and starts the stream.
    Result<void> streamOn();
    /// Stops the stream; the driver gives up every buffer. What it answers does not matter.
    void streamOff();
    void release();

    /// -EAGAIN none is filled; -ENODEV or -EINVAL gone.
    Result<Filled> dequeue();
    Result<void> queue(std::uint32_t index);

private:
    struct Mapping
    {
        void *start = nullptr;
        std::size_t length = 0;
    };

    Result<void> map(std::uint32_t index);

    const V4l2Node &m_node;
    std::vector<Mapping> m_mappings; // by index
    bool m_allocated = false;
    bool m_streaming = false;
};

} // namespace korv
