#pragma once

#include <QImage>
#include <QRect>
#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

/// Now, in nanoseconds of CLOCK_MONOTONIC.
std::int64_t monotonicNs();

/// Looks at a part of the X server's screen more than a thousand times a second, over a connection of
/// its own.
class ScreenWatch
{
public:
    /// Called on the watch's thread with each new picture and the time by which it was there.
    using Changed = std::function<void(const QImage &picture, std::int64_t ns)>;

    /// `part` is in pixels of the screen and lies on it.
    ScreenWatch(const QRect &part, Changed changed);
    ~ScreenWatch();
    ScreenWatch(const ScreenWatch &) = delete;
    ScreenWatch &operator=(const ScreenWatch &) = delete;

private:
    void run() const;

    const QRect m_part;
    const Changed m_changed;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last: it needs the rest
};
