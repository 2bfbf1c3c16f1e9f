#include "bench/screenwatch.h"

#include <ctime>
#include <memory>
#include <unistd.h>
#include <utility>

// its macros would get in the way of everything that follows
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr unsigned kPauseUs = 300;

struct DisplayCloser
{
    void operator()(Display *display) const { XCloseDisplay(display); }
};

struct ImageFreer
{
    void operator()(XImage *image) const { XDestroyImage(image); }
};

} // namespace

std::int64_t monotonicNs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

ScreenWatch::ScreenWatch(const QRect &part, Changed changed)
    : m_part(part)
    , m_changed(std::move(changed))
    , m_thread([this] { run(); })
{
}

ScreenWatch::~ScreenWatch()
{
    m_stopping = true;
    m_thread.join();
}

void ScreenWatch::run() const
{
    const std::unique_ptr<Display, DisplayCloser> display(XOpenDisplay(nullptr));
    QImage last;
    while (display && !m_stopping) {
        const std::unique_ptr<XImage, ImageFreer> image(
            XGetImage(display.get(), DefaultRootWindow(display.get()), m_part.x(), m_part.y(),
                      static_cast<unsigned>(m_part.width()), static_cast<unsigned>(m_part.height()),
                      AllPlanes, ZPixmap));
        // the server had drawn it by then
        const std::int64_t now = monotonicNs();
        constexpr int kBitsPerPixel = 32;
        if (!image || image->bits_per_pixel != kBitsPerPixel)
            return;
        const QImage seen(reinterpret_cast<const uchar *>(image->data), image->width, image->height,
                          image->bytes_per_line, QImage::Format_RGB32);
        if (seen != last) {
            last = seen.copy();
            m_changed(last, now);
        }
        usleep(kPauseUs);
    }
}
