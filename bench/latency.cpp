// Time from a frame of the camera to its pixels on the X server: the application's own window, the
// real camera library, the simulated desk. A frame's time stamp is the moment at which the desk's
// camera has it ready; a camera's own exposure and transfer come before that.

#include "app/preview/previewgeometry.h"
#include "app/process.h"
#include "app/window/mainwindow.h"
#include "bench/arrivals.h"
#include "bench/coinclock.h"
#include "bench/screenwatch.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFrame>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace {

constexpr double kNsPerMs = 1e6;
constexpr double kFramesPerSecond = 15;
constexpr double kBarMs = 1000 / kFramesPerSecond + 20;
constexpr int kPatienceMs = 60'000; ///< for the first frames
constexpr std::size_t kFirstFrames = 15; ///< until caches and buffers are warm
constexpr std::size_t kKeepEvery = 5; ///< frames; more would fill the memory
constexpr std::int64_t kLongestNs = 3'000'000'000;

/// A frame that is looked for on the screen.
struct KeptFrame
{
    std::int64_t stampNs = 0;
    QByteArray jpeg;
};

/// What the stream's thread leaves behind.
struct Arrivals
{
    std::mutex mutex;
    std::int64_t stampNs = 0; ///< of the frame on its way
    QSize size;
    std::size_t count = 0;
    bool keeps = false;
    std::vector<KeptFrame> kept;
};

Arrivals &arrivals()
{
    static Arrivals all;
    return all;
}

/// A place on the coin's way that the screen showed from a time on.
struct Sight
{
    std::int64_t ns = 0;
    double place = 0;
};

void work(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
}

QSize frameSize()
{
    const std::lock_guard lock(arrivals().mutex);
    return arrivals().size;
}

/// Whether the camera streams.
bool awaitStream()
{
    QElapsedTimer timer;
    timer.start();
    const auto streams = [] {
        const std::lock_guard lock(arrivals().mutex);
        return arrivals().count >= kFirstFrames;
    };
    while (!streams() && timer.elapsed() < kPatienceMs)
        work(100);
    return streams();
}

/// Where the window draws the frames, on the screen.
QRect pictureOnScreen(const QWidget &window)
{
    const auto *const area = window.findChild<QFrame *>(QStringLiteral("frame"));
    const QRect drawn = previewgeometry::fitted(frameSize(), previewgeometry::Turn::None,
                                                area ? area->size() : QSize());
    return {window.mapToGlobal(drawn.topLeft()), drawn.size()};
}

/// Runs the stream for a while and notes what the screen shows.
std::vector<Sight> watch(const QRect &picture, int seconds)
{
    const QSize frame = frameSize();
    const double scale = static_cast<double>(picture.width()) / frame.width();
    std::vector<Sight> sights;
    {
        const ScreenWatch screen(coinclock::strip(frame, picture),
                                 [&](const QImage &strip, std::int64_t ns) {
                                     if (const auto place = coinclock::placeOf(strip, frame, scale))
                                         sights.push_back({ns, *place});
                                 });
        const auto keep = [](bool wanted) {
            const std::lock_guard lock(arrivals().mutex);
            arrivals().keeps = wanted;
        };
        keep(true);
        work(seconds * 1000);
        keep(false);
        work(static_cast<int>(kLongestNs / static_cast<std::int64_t>(kNsPerMs)));
    }
    return sights;
}

/// Milliseconds until the screen showed the frame or a newer one; negative when it did not.
double latencyOf(const KeptFrame &frame, const std::vector<Sight> &sights)
{
    const QImage picture =
        QImage::fromData(frame.jpeg, "JPG").convertToFormat(QImage::Format_RGB32);
    const QImage strip = picture.copy(coinclock::strip(picture.size(), picture.rect()));
    const auto place = coinclock::placeOf(strip, picture.size(), 1);
    if (!place)
        return -1;
    constexpr double kHalfAStep = 0.5;
    const double round = coinclock::framesPerRound(picture.size());
    for (const Sight &sight : sights) {
        if (sight.ns >= frame.stampNs && sight.ns - frame.stampNs < kLongestNs
            && coinclock::ahead(sight.place, *place, round) > -kHalfAStep)
            return static_cast<double>(sight.ns - frame.stampNs) / kNsPerMs;
    }
    return -1;
}

int report(std::FILE *output, const std::vector<Sight> &sights, int seconds)
{
    std::vector<double> latencies;
    std::size_t missed = 0;
    for (const KeptFrame &frame : arrivals().kept) {
        const double latency = latencyOf(frame, sights);
        if (latency < 0)
            ++missed;
        else
            latencies.push_back(latency);
    }
    if (latencies.empty()) {
        std::fprintf(output, "no frame was found on the screen\n");
        return 1;
    }
    std::sort(latencies.begin(), latencies.end());
    const double p95 = latencies[latencies.size() * 95 / 100];
    double load = 0;
    getloadavg(&load, 1);
    std::fprintf(output,
                 "%dx%d, %zu pictures on the screen in %d s, %zu frames looked for, %zu not found\n"
                 "time stamp to pixel: median %.1f ms, p95 %.1f ms, worst %.1f ms; bar %.1f ms at "
                 "p95; load %.1f\n",
                 frameSize().width(), frameSize().height(), sights.size(), seconds,
                 arrivals().kept.size(), missed, latencies[latencies.size() / 2], p95,
                 latencies.back(), kBarMs, load);
    return p95 <= kBarMs && missed == 0 ? 0 : 1;
}

} // namespace

void benchFrameComes()
{
    const std::lock_guard lock(arrivals().mutex);
    arrivals().stampNs = monotonicNs();
}

void benchFrameCame(const void *jpeg, int size, int width, int height)
{
    const std::lock_guard lock(arrivals().mutex);
    arrivals().size = QSize(width, height);
    if (arrivals().keeps && arrivals().count % kKeepEvery == 0)
        arrivals().kept.push_back(
            {arrivals().stampNs, QByteArray(static_cast<const char *>(jpeg), size)});
    ++arrivals().count;
}

int main(int argc, char **argv)
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 40;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: bench-latency [SECONDS]\n");
        return 2;
    }
    // the window prints a trace of every frame
    std::FILE *const output = fdopen(dup(STDOUT_FILENO), "w");
    if (!output || !std::freopen("/dev/null", "w", stdout))
        return 1;
    const QTemporaryDir home; // no settings of the user's
    setenv("HOME", home.path().toUtf8().constData(), 1);
    unsetenv("XDG_CONFIG_HOME");
    setenv("KORV_CAMERA_DESK", "builtin", 1);
    setenv("KORV_CAMERA_REAL", "0", 1);
    prepareProcess();
    QApplication application(argc, argv);
    MainWindow window(nullptr, KORV_STAMPED_CAMERA);
    window.move(0, 0);
    window.show();
    int status = 1;
    if (!awaitStream())
        std::fprintf(output, "the camera sent no frames\n");
    else
        status = report(output, watch(pictureOnScreen(window), seconds), seconds);
    std::fclose(output);
    window.close();
    work(100);
    return status;
}
