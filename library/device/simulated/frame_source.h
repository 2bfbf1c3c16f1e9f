#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"

#include <cstdint>
#include <string>

namespace korv {

/// What a simulated camera sees, as frames. One thread asks for frames; stop() may come from another.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Waits until there is something to show; false after stop().
    virtual bool waitUntilReady() = 0;

    /// Frame `number`, a complete JPEG, valid until the next call; no bytes after stop(). -ENOMEM.
    virtual Result<ByteView> frame(std::int64_t number) = 0;

    /// Names the camera in the log.
    virtual std::string label() const = 0;

    /// Wakes whoever waits for a frame; there are none any more.
    virtual void stop() = 0;
};

} // namespace korv
