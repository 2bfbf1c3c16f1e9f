// Time from the start of a process to its first painted window: the application's window beside a
// minimal Qt window with default settings. Children of this program are measured in turns; the look
// at the process list is not part of it.

#include "app/process.h"
#include "app/window/mainwindow.h"
#include "installpaths.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QTranslator>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

constexpr char kMinimal[] = "--child-minimal";
constexpr char kOurs[] = "--child-ours";

/// Ends the process as soon as the first paint has reached the screen.
class FirstPaint : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, [] { ::_exit(0); });
        return false;
    }
};

void showAndEnd(QWidget &window)
{
    FirstPaint firstPaint;
    window.installEventFilter(&firstPaint);
    window.show();
    QApplication::exec();
}

int runChild(const char *kind, int argc, char **argv)
{
    if (std::strcmp(kind, kMinimal) == 0) {
        QApplication application(argc, argv);
        QMainWindow window;
        window.resize(897, 658);
        showAndEnd(window);
    } else {
        prepareProcess();
        QApplication application(argc, argv);
        QTranslator translator;
        translator.load(QStringLiteral("vexalin_zh_CN.qm"),
                        QString::fromUtf8(installpaths::kTranslationFolder));
        QCoreApplication::installTranslator(&translator);
        MainWindow window;
        showAndEnd(window);
    }
    return 1; // a window that ended without a paint
}

/// Seconds until the child's first paint; negative when it did not get there.
double startChild(const char *kind)
{
    const char *arguments[] = {"bench-startup", kind, nullptr};
    timespec before = {};
    timespec after = {};
    ::clock_gettime(CLOCK_MONOTONIC, &before);
    pid_t child = 0;
    int status = -1;
    if (::posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, const_cast<char **>(arguments),
                      environ)
            != 0
        || ::waitpid(child, &status, 0) != child || status != 0)
        return -1;
    ::clock_gettime(CLOCK_MONOTONIC, &after);
    return static_cast<double>(after.tv_sec - before.tv_sec)
        + static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Bar: ratio <= 0.8.
void firstPaintedWindow(benchmark::State &state)
{
    std::vector<double> minimal;
    std::vector<double> ours;
    for (auto _ : state) {
        minimal.push_back(startChild(kMinimal));
        ours.push_back(startChild(kOurs));
        if (minimal.back() < 0 || ours.back() < 0) {
            state.SkipWithError("a window was not painted");
            return;
        }
        state.SetIterationTime(ours.back());
    }
    state.counters["minimal_ms"] = median(minimal) * 1e3;
    state.counters["ours_ms"] = median(ours) * 1e3;
    state.counters["ratio"] = median(ours) / median(minimal);
}
BENCHMARK(firstPaintedWindow)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && (std::strcmp(argv[1], kMinimal) == 0 || std::strcmp(argv[1], kOurs) == 0))
        return runChild(argv[1], argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
