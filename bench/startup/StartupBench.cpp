// Process start to first painted frame of orvane-bench with the plug-in loaded, off screen, and
// the peak memory (resident set) of those runs.
// Usage: startup-bench [RUNS]   (default 30)
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int TargetMedianMs = 40;
constexpr int TargetPeakMb = 64;

// Milliseconds from spawning the process to its "First frame painted" line; -1 on failure.
double timeOneStart(const QString& screenshot)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral(ORVANE_BENCH_PATH),
                  {"--offscreen", "--set", "GUI_developerMode=true", "--screenshot", screenshot});
    QByteArray output;
    double elapsed = -1;
    while (process.state() != QProcess::NotRunning || process.bytesAvailable() > 0) {
        process.waitForReadyRead(50);
        output += process.readAll();
        if (elapsed < 0 && output.contains("First frame painted"))
            elapsed = timer.nsecsElapsed() / 1e6;
        if (timer.elapsed() > 20000)
            break;
    }
    process.waitForFinished(5000);
    if (process.exitCode() != 0) {
        std::fprintf(stderr, "orvane-bench failed:\n%s\n", output.constData());
        return -1;
    }
    return elapsed;
}

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    const size_t i = std::min(v.size() - 1, size_t(p * (v.size() - 1) + 0.5));
    return v[i];
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 30;
    QTemporaryDir dir;
    qputenv("XDG_RUNTIME_DIR", dir.path().toLocal8Bit());
    const QString shot = dir.filePath(QStringLiteral("shot.png"));

    timeOneStart(shot); // warm the page cache; not counted
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        const double ms = timeOneStart(shot);
        if (ms < 0)
            return 1;
        times.push_back(ms);
    }
    // The largest resident set any of the runs reached, as the kernel kept it for us.
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    const double peakMb = children.ru_maxrss / 1024.0;
    std::printf("start to first frame, %d runs: median %.1f ms, p90 %.1f ms, min %.1f ms, max %.1f ms (target: median < %d ms)\n",
                runs, percentile(times, 0.5), percentile(times, 0.9), percentile(times, 0.0), percentile(times, 1.0),
                TargetMedianMs);
    std::printf("peak memory of a run: %.1f MB (target: < %d MB)\n", peakMb, TargetPeakMb);
    return percentile(times, 0.5) < TargetMedianMs && peakMb < TargetPeakMb ? 0 : 3;
}
