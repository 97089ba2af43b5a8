// Process start to first painted frame of orvane-bench with the plug-in loaded, off screen, and
// the peak memory (resident set) at that frame and of the whole run, which goes on to load the
// DATA tab's web dashboard once the frame is out.
// Usage: startup-bench [RUNS] [PROGRAM...]   (default 30 runs of this build's orvane-bench)
// Programs named (another build's orvane-bench, say) are measured side by side: their runs
// alternate, so that each sees the same load on the machine. startup-floor, the least a Qt
// Widgets program does before its first frame, runs beside them as the machine's floor.
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

Start timeOneStart(const QString& program, const QString& screenshot)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(program, {"--offscreen", "--set", "GUI_developerMode=true", "--screenshot", screenshot});
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
    QStringList programs;
    for (int i = 2; i < argc; ++i)
        programs << QString::fromLocal8Bit(argv[i]);
    if (programs.isEmpty())
        programs << QStringLiteral(ORVANE_BENCH_PATH);
    const int benches = int(programs.size());
    programs << QStringLiteral(QT_FLOOR_PATH);
    QTemporaryDir dir;
    qputenv("XDG_RUNTIME_DIR", dir.path().toLocal8Bit());
    const QString shot = dir.filePath(QStringLiteral("shot.png"));

    for (const QString& program : programs)
        timeOneStart(program, shot); // warm the page cache; not counted
    std::vector<std::vector<double>> times(programs.size());
    std::vector<double> firstFramePeakMb(programs.size(), 0);
    for (int i = 0; i < runs; ++i) {
        for (int p = 0; p < programs.size(); ++p) {
            const Start start = timeOneStart(programs[p], shot);
            if (start.ms < 0)
                return 1;
            times[p].push_back(start.ms);
            firstFramePeakMb[p] = std::max(firstFramePeakMb[p], start.peakMb);
        }
    }
    for (int p = 0; p < benches; ++p) {
        if (benches > 1)
            std::printf("%s:\n", qPrintable(programs[p]));
        std::printf("start to first frame, %d runs: median %.1f ms, p90 %.1f ms, min %.1f ms, max %.1f ms (target: median < %d ms)\n",
                    runs, percentile(times[p], 0.5), percentile(times[p], 0.9), percentile(times[p], 0.0),
                    percentile(times[p], 1.0), TargetMedianMs);
        std::printf("peak memory at the first frame: %.0f MB (target: < %d MB)\n", firstFramePeakMb[p], TargetPeakMb);
    }
    const std::vector<double>& floor = times[benches];
    std::printf("startup-floor (an off-screen Qt Widgets program that paints one line of text): median %.1f ms, "
                "p90 %.1f ms, min %.1f ms\n",
                percentile(floor, 0.5), percentile(floor, 0.9), percentile(floor, 0.0));
    if (benches == 1) {
        // The largest resident set any of the runs reached, as the kernel kept it for us.
        rusage children{};
        getrusage(RUSAGE_CHILDREN, &children);
        const double runPeakMb = children.ru_maxrss / 1024.0;
        std::printf("peak memory of a run, the web dashboard loaded: %.1f MB (the dashboard: %.0f MB more)\n", runPeakMb,
                    runPeakMb - firstFramePeakMb[0]);
    }
    return percentile(times[0], 0.5) < TargetMedianMs && firstFramePeakMb[0] < TargetPeakMb ? 0 : 3;
}
