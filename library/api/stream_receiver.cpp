#include "library/api/stream_receiver.h"

#include "library/api/callback_scope.h"
#include "library/base/log.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace korv {

void StreamReceiver::onFrame(const Frame &frame)
{
    const std::uint64_t room =
        static_cast<std::uint64_t>(frame.width) * static_cast<std::uint64_t>(frame.height) * 3;
    if (frame.jpeg.size >= room || frame.jpeg.size > std::numeric_limits<int>::max()) {
        if (!m_reported)
            logLine(LogLevel::Warning, m_label, "dropping frames that are too long",
                    std::to_string(frame.jpeg.size) + " bytes for " + std::to_string(frame.width)
                        + "x" + std::to_string(frame.height));
        m_reported = true;
        return;
    }
    if (m_silent || (m_gate && !m_gate->lets(frame, std::chrono::steady_clock::now())))
        return;
    const CallbackScope scope(CallbackScope::Kind::Frame);
    // the contract's pointer is not const; the receiver only reads
    m_callback(const_cast<std::uint8_t *>(frame.jpeg.data), static_cast<int>(frame.jpeg.size),
               frame.width, frame.height);
}

} // namespace korv
