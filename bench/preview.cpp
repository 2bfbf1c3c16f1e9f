// The live preview beside the plain way of doing it, in one run on one machine. Every "ours" row
// carries the ratios to the "plain" run made right before it; the bars are printed at the end.

#include "app/preview/previewdecoder.h"
#include "app/process.h"
#include "app/window/mainwindow.h"
#include "bench/cameraframe.h"
#include "bench/plainwindow.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <sstream>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

constexpr int kFramesPerRun = 25;
constexpr int kRightBy90 = 2;

double cpuMs(clockid_t clock)
{
    timespec now = {};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

QSize sizeOf(int megapixels)
{
    static const std::map<int, QSize> kSizes{
        {2, {1600, 1200}}, {5, {2592, 1944}}, {8, {3264, 2448}}, {13, {4208, 3120}}};
    return kSizes.at(megapixels);
}

const std::vector<QByteArray> &pages(int megapixels)
{
    static std::map<int, std::vector<QByteArray>> made;
    std::vector<QByteArray> &list = made[megapixels];
    for (int shift = static_cast<int>(list.size()); shift < 3; ++shift)
        list.push_back(cameraframe::page(sizeOf(megapixels), shift));
    return list;
}

struct Sample
{
    double windowCpuMs = 0; ///< a frame, on the window's thread
    double cpuMs = 0; ///< a frame, all threads
    double framesPerSecond = 0;
    double eventDelayMs = 0; ///< mean time a posted event waits on the window's thread
};

/// The window under measurement, as the measuring loop sees it.
struct Subject
{
    std::function<void(const QByteArray &, QSize)> receive;
    std::function<int()> painted;
    QObject *context = nullptr;
};

/// Shows a window and lets it settle: a repaint left over from showing would make the plain way
/// wait for its own lock in every frame from then on.
void showSettled(QWidget &window)
{
    window.show();
    QElapsedTimer settling;
    settling.start();
    while (settling.elapsed() < 200)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

/// Feeds frames as fast as the window takes them until enough were painted.
Sample measure(const Subject &subject, int megapixels)
{
    const std::vector<QByteArray> &frames = pages(megapixels);
    const QSize size = sizeOf(megapixels);
    std::atomic<bool> stop{false};
    std::atomic<int> events{0};
    std::atomic<qint64> delayNs{0};

    std::thread capture([&] {
        for (std::size_t i = 0; !stop; ++i) {
            subject.receive(frames[i % frames.size()], size);
            ::usleep(100);
        }
    });
    std::thread poster([&] {
        while (!stop) {
            QElapsedTimer posted;
            posted.start();
            QMetaObject::invokeMethod(
                subject.context,
                [&, posted] {
                    delayNs += posted.nsecsElapsed();
                    ++events;
                },
                Qt::QueuedConnection);
            ::usleep(7000);
        }
    });

    const auto runUntil = [&subject](int count) {
        while (subject.painted() < count)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    };
    runUntil(subject.painted() + 3); // caches and buffers are warm
    const int from = subject.painted();
    delayNs = 0;
    events = 0;
    const double window = cpuMs(CLOCK_THREAD_CPUTIME_ID);
    const double all = cpuMs(CLOCK_PROCESS_CPUTIME_ID);
    QElapsedTimer wall;
    wall.start();
    runUntil(from + kFramesPerRun);
    const int frameCount = subject.painted() - from;
    Sample sample;
    sample.windowCpuMs = (cpuMs(CLOCK_THREAD_CPUTIME_ID) - window) / frameCount;
    sample.cpuMs = (cpuMs(CLOCK_PROCESS_CPUTIME_ID) - all) / frameCount;
    sample.framesPerSecond = frameCount * 1e9 / static_cast<double>(wall.nsecsElapsed());
    sample.eventDelayMs = static_cast<double>(delayNs.load()) / 1e6 / std::max(1, events.load());
    stop = true;
    capture.join();
    poster.join();
    QCoreApplication::processEvents();
    return sample;
}

class OurWindow : public MainWindow
{
public:
    explicit OurWindow(int rotationCode)
        : MainWindow(nullptr, "/nonexistent")
    {
        FreshCamRotateTypeWidget();
        ui()->setCurrentIndex(rotationCode);
    }
    int painted() const { return m_painted; }

protected:
    void paintEvent(QPaintEvent *event) override
    {
        const bool waited = m_frame.waiting();
        MainWindow::paintEvent(event);
        m_painted += waited ? 1 : 0;
    }

private:
    QComboBox *ui() { return findChild<QComboBox *>(QStringLiteral("rotatestylecomb")); }

    int m_painted = 0;
};

Sample measurePlain(int megapixels, int rotationCode)
{
    PlainWindow window(rotationCode);
    showSettled(window);
    return measure({[&window](const QByteArray &frame, QSize size) {
                        window.receive(frame.constData(), frame.size(), size.width(),
                                       size.height());
                    },
                    [&window] { return window.painted(); }, &window},
                   megapixels);
}

Sample measureOurs(int megapixels, int rotationCode)
{
    OurWindow window(rotationCode);
    showSettled(window);
    return measure({[](const QByteArray &frame, QSize size) {
                        MainWindow::CameraCpatureReciveCB(const_cast<char *>(frame.constData()),
                                                          frame.size(), size.width(),
                                                          size.height());
                    },
                    [&window] { return window.painted(); }, &window},
                   megapixels);
}

void report(benchmark::State &state, const Sample &sample)
{
    state.counters["window_cpu_ms"] = sample.windowCpuMs;
    state.counters["cpu_ms"] = sample.cpuMs;
    state.counters["fps"] = sample.framesPerSecond;
    state.counters["event_delay_ms"] = sample.eventDelayMs;
}

/// Both ways, one after the other, so that the machine's mood is the same for both.
void preview(benchmark::State &state)
{
    const auto megapixels = static_cast<int>(state.range(0));
    const int rotationCode = state.range(1) != 0 ? kRightBy90 : 0;
    for (auto _ : state) {
        const Sample plain = measurePlain(megapixels, rotationCode);
        const Sample ours = measureOurs(megapixels, rotationCode);
        report(state, ours);
        state.counters["plain_window_cpu_ms"] = plain.windowCpuMs;
        state.counters["plain_cpu_ms"] = plain.cpuMs;
        state.counters["plain_fps"] = plain.framesPerSecond;
        state.counters["plain_event_delay_ms"] = plain.eventDelayMs;
        state.counters["window_cpu_ratio"] = plain.windowCpuMs / ours.windowCpuMs;
        state.counters["cpu_ratio"] = plain.cpuMs / ours.cpuMs;
        state.counters["fps_ratio"] = ours.framesPerSecond / plain.framesPerSecond;
    }
}
BENCHMARK(preview)
    ->ArgNames({"megapixels", "rotated"})
    ->ArgsProduct({{2, 5, 8, 13}, {0, 1}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

/// The floor of a preview: one decode at the smallest sufficient scale, nothing else.
void scaledDecode(benchmark::State &state)
{
    const QByteArray &frame = pages(static_cast<int>(state.range(0))).front();
    QImage image;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            previewdecoder::decode(frame.constData(), frame.size(), QSize(640, 480), image));
}
BENCHMARK(scaledDecode)->ArgName("megapixels")->Arg(8)->Unit(benchmark::kMillisecond);

/// All that is done with a frame outside the lock.
void preparedPicture(benchmark::State &state)
{
    const auto megapixels = static_cast<int>(state.range(0));
    const QByteArray &frame = pages(megapixels).front();
    const PreviewTarget::Value target{previewgeometry::turnOf(state.range(1) != 0 ? kRightBy90 : 0),
                                      QSize(686, 508)};
    PreviewRenderer renderer;
    PreviewPicture picture;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            renderer.render(frame.constData(), frame.size(), sizeOf(megapixels), target, picture));
}
BENCHMARK(preparedPicture)
    ->ArgNames({"megapixels", "rotated"})
    ->ArgsProduct({{8}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void copyOfTheFrame(benchmark::State &state)
{
    const QByteArray &frame = pages(static_cast<int>(state.range(0))).front();
    std::vector<char> block(static_cast<std::size_t>(frame.size()));
    for (auto _ : state) {
        std::memcpy(block.data(), frame.constData(), block.size());
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(copyOfTheFrame)->ArgName("megapixels")->Arg(2)->Arg(5)->Arg(8)->Arg(13);

/// What the callback does while it holds the lock. Bar: 1.5 x copyOfTheFrame.
void callbackUnderTheLock(benchmark::State &state)
{
    const auto megapixels = static_cast<int>(state.range(0));
    const QByteArray &frame = pages(megapixels).front();
    const QSize size = sizeOf(megapixels);
    FrameBuffer buffer;
    PreviewPicture picture;
    for (auto _ : state) {
        picture.area = QSize(640, 480);
        FrameBuffer::Access slot{buffer};
        if (slot.makeRoom(size.width(), size.height()))
            slot.store(frame.constData(), frame.size(), picture);
    }
}
BENCHMARK(callbackUnderTheLock)->ArgName("megapixels")->Arg(2)->Arg(5)->Arg(8)->Arg(13);

/// What a paint does while it holds the lock. Bar: 5 microseconds.
void paintUnderTheLock(benchmark::State &state)
{
    FrameBuffer buffer;
    PreviewPicture back;
    PreviewPicture front;
    for (auto _ : state) {
        state.PauseTiming();
        back.area = QSize(640, 480);
        {
            FrameBuffer::Access slot{buffer};
            if (slot.makeRoom(640, 480))
                slot.store("frame", 5, back);
        }
        state.ResumeTiming();
        FrameBuffer::Access slot{buffer};
        benchmark::DoNotOptimize(slot.takeNewerPicture(front));
        slot.markPainted();
    }
}
BENCHMARK(paintUnderTheLock);

} // namespace

int main(int argc, char **argv)
{
    prepareProcess();
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // The traces of the windows are not the report: they go nowhere, the report to the real output.
    std::FILE *output = ::fdopen(::dup(STDOUT_FILENO), "w");
    if (output == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    std::ostringstream text;
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&text);
    reporter.SetErrorStream(&text);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::fputs(text.str().c_str(), output);
    std::fputs("\nBars at 8 megapixels: window_cpu_ratio >= 30 (rotated 60), cpu_ratio >= 3 "
               "(rotated 4), fps_ratio >= 3.3;\ncallbackUnderTheLock <= 1.5 x copyOfTheFrame; "
               "paintUnderTheLock <= 5000 ns.\n",
               output);
    std::fclose(output);
    return 0;
}
