// The whole bench idle: orvane-bench off screen in developer mode with the CAN traffic
// generator on (its default), each tab shown in turn, nothing touched; the figure is the
// process's CPU time over SECONDS of wall time.
//   build/bin/idle_bench [SECONDS] [TAB...]
// ORVANE_BENCH_PROGRAM names other orvane-bench builds to measure instead, separated by ':'
// (an older build and this one, say): each tab is measured with each in turn, so that they
// see the same load on the machine.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

namespace {

constexpr double TargetPercent = 0.5;

// Seconds of CPU the process's threads have used, children not included: the scheduler's own
// nanoseconds, not /proc's clock ticks, which are 0.1% of ten seconds each.
double cpuSeconds(qint64 pid)
{
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    double seconds = 0;
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks + QLatin1Char('/') + task + QStringLiteral("/schedstat"));
        if (stat.open(QIODevice::ReadOnly))
            seconds += stat.readAll().split(' ').value(0).toDouble() / 1e9;
    }
    return seconds;
}

// The bench on `tab`, paused by its script once the tab has settled: the CPU share while it waits.
bool measure(const QString& program, const QString& tab, double seconds, const QTemporaryDir& dir, double* percent)
{
    const QString script = dir.filePath(QStringLiteral("idle.txt"));
    QFile file(script);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    file.write(QStringLiteral("tap \"%1\"\nwait 2000\npause \"idle\"\nquit\n").arg(tab).toUtf8());
    file.close();

    QProcess bench;
    bench.setProcessChannelMode(QProcess::SeparateChannels);
    bench.setStandardErrorFile(QProcess::nullDevice());
    bench.start(program,
        {QStringLiteral("--offscreen"), QStringLiteral("--service-port"), QStringLiteral("0"), QStringLiteral("--data-dir"),
         dir.filePath(QStringLiteral("data")), QStringLiteral("--set"), QStringLiteral("GUI_developerMode=true"),
         QStringLiteral("--script"), script});
    QByteArray output;
    while (!output.contains("Paused:")) {
        if (!bench.waitForReadyRead(30000)) {
            std::fprintf(stderr, "%s: the bench never paused (tab missing?)\n", qPrintable(tab));
            bench.kill();
            bench.waitForFinished();
            return false;
        }
        output += bench.readAllStandardOutput();
    }
    const double cpu0 = cpuSeconds(bench.processId());
    QElapsedTimer wall;
    wall.start();
    QThread::usleep((unsigned long)(seconds * 1e6));
    const double cpu = cpuSeconds(bench.processId()) - cpu0;
    *percent = 100.0 * cpu / (double(wall.nsecsElapsed()) / 1e9);
    bench.write("\n");
    bench.closeWriteChannel();
    bench.waitForFinished(30000);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    double seconds = 10;
    if (!arguments.isEmpty() && arguments.first().toDouble() > 0)
        seconds = arguments.takeFirst().toDouble();
    const QStringList tabs = arguments.isEmpty()
        ? QStringList{"DATA", "CAN", "FACTORY", "DRAVIK", "KAVRO", "SETTINGS", "ACTIONS", "APPS", "FONTS"}
        : arguments;
    QTemporaryDir dir;
    std::printf("orvane-bench idle off screen, CAN generator on: CPU over %.0f s (target at most %.1f%% of one core)\n",
        seconds, TargetPercent);
    const QStringList programs = qEnvironmentVariable("ORVANE_BENCH_PROGRAM", QStringLiteral(ORVANE_BENCH_PATH))
                                     .split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (int i = 0; i < programs.size(); ++i)
        std::printf("  [%d] %s\n", i + 1, qPrintable(programs[i]));
    bool allMet = true, allRan = true;
    for (const QString& tab : tabs) {
        std::printf("  %-9s", qPrintable(tab));
        for (const QString& program : programs) {
            double percent = 0;
            if (!measure(program, tab, seconds, dir, &percent)) {
                allRan = false;
                std::printf("    failed");
                continue;
            }
            allMet &= percent <= TargetPercent;
            std::printf(" %7.2f%%", percent);
            std::fflush(stdout);
        }
        std::printf("  of one core\n");
    }
    std::printf(allMet ? "every tab within the target\n" : "target not met on every tab\n");
    return allRan ? 0 : 1;
}
