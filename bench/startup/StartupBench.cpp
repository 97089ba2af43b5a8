// Process start to first painted frame of orvane-bench with the plug-in loaded, off screen, and
// the peak memory (resident set) at that frame and of the whole run, which goes on to load the
// DATA tab's web dashboard once the frame is out.
// Usage: startup-bench [RUNS]   (default 30)
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int TargetMedianMs = 40;
constexpr int TargetPeakMb = 64;

struct Start {
    double ms = -1; // from spawning the process to its "First frame painted" line
    double peakMb = -1; // the process's own peak resident set at that frame
};

Start timeOneStart(const QString& screenshot)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(QStringLiteral(ORVANE_BENCH_PATH),
                  {"--offscreen", "--set", "GUI_developerMode=true", "--screenshot", screenshot});
    QByteArray output;
    Start start;
    while (process.state() != QProcess::NotRunning || process.bytesAvailable() > 0) {
        process.waitForReadyRead(50);
        output += process.readAll();
        if (start.ms < 0 && output.contains("First frame painted"))
            start.ms = timer.nsecsElapsed() / 1e6;
        if (timer.elapsed() > 20000)
            break;
    }
    process.waitForFinished(5000);
    const QRegularExpressionMatch peak = QRegularExpression(QStringLiteral("First frame painted after \\d+ ms, peak memory (\\d+) MB"))
                                             .match(QString::fromUtf8(output));
    if (process.exitCode() != 0 || start.ms < 0 || !peak.hasMatch()) {
        std::fprintf(stderr, "orvane-bench failed:\n%s\n", output.constData());
        return {};
    }
    start.peakMb = peak.captured(1).toDouble();
    return start;
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
    double firstFramePeakMb = 0;
    for (int i = 0; i < runs; ++i) {
        const Start start = timeOneStart(shot);
        if (start.ms < 0)
            return 1;
        times.push_back(start.ms);
        firstFramePeakMb = std::max(firstFramePeakMb, start.peakMb);
    }
    // The largest resident set any of the runs reached, as the kernel kept it for us.
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    const double runPeakMb = children.ru_maxrss / 1024.0;
    std::printf("start to first frame, %d runs: median %.1f ms, p90 %.1f ms, min %.1f ms, max %.1f ms (target: median < %d ms)\n",
                runs, percentile(times, 0.5), percentile(times, 0.9), percentile(times, 0.0), percentile(times, 1.0),
                TargetMedianMs);
    std::printf("peak memory at the first frame: %.0f MB (target: < %d MB)\n", firstFramePeakMb, TargetPeakMb);
    std::printf("peak memory of a run, the web dashboard loaded: %.1f MB (the dashboard: %.0f MB more)\n", runPeakMb,
                runPeakMb - firstFramePeakMb);
    return percentile(times, 0.5) < TargetMedianMs && firstFramePeakMb < TargetPeakMb ? 0 : 3;
}
