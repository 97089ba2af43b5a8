#include "BenchHost.h"
#include "BenchOptions.h"
#include "BenchWindow.h"
#include "ScriptRunner.h"
#include "core/Logger.h"
#include "display/DisplayDevice.h"
#include "services/FontManager.h"
#include "views/WebView.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdio>

#include <sys/resource.h>

namespace {

int usageError(const QString& message)
{
    std::fprintf(stderr, "orvane-bench: %s\n", qPrintable(message));
    return 2;
}

// The start-up benchmark waits for this line.
void logFirstFrame(const QElapsedTimer& sinceStart)
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    Logger(nullptr, "INFO") << "First frame painted after" << int(sinceStart.elapsed()) << "ms, peak memory"
                            << int(usage.ru_maxrss / 1024) << "MB";
}

} // namespace

int main(int argc, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const bool wantsOffscreen = arguments.contains(QStringLiteral("--offscreen"));
    const bool haveDisplay = !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (wantsOffscreen || !haveDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");

    // Pages may hold web views, which need a widget application. Qt sees none of our options:
    // it would take --plugin (and any other name of its own) for itself.
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setApplicationName(QStringLiteral("orvane-bench"));

    BenchOptions options;
    QString error;
    if (!parseBenchOptions(arguments, &options, &error))
        return usageError(error + QStringLiteral(" (see --help)"));
    if (!wantsOffscreen && !haveDisplay) {
        Logger(nullptr, "WARN") << "No display found: running off screen";
        options.offscreen = true;
    }

    ScriptRunner* script = nullptr;
    BenchHost host(options);
    if (!options.scriptPath.isEmpty()) {
        script = new ScriptRunner(&host, options.scriptPath);
        script->setKeepGoing(options.keepGoing);
        if (!script->load(&error))
            return usageError(error);
    }
    if (!host.prepare(&error))
        return usageError(error);
    // Reading the system's fonts is a large part of start-up: the plug-in loads meanwhile.
    FontPreload fonts;
    // The web pages' engine is the costliest part of start-up: it loads once the first frame is out.
    WebView::holdEngines(true);
    if (!host.start(&error))
        return usageError(error);

    std::unique_ptr<BenchWindow> window;
    if (!options.offscreen) {
        window = std::make_unique<BenchWindow>(&host);
        window->show();
    }

    int status = 0;
    host.settle([&] {
        host.display()->render();
        logFirstFrame(sinceStart);
        host.startNetworkServices();
        WebView::holdEngines(false);
        // A script starts from the first frame; started earlier, its waits would hold that frame back.
        if (script) {
            script->run();
            return;
        }
        if (options.screenshotPath.isEmpty() && options.dumpPath.isEmpty()) {
            if (options.offscreen)
                Logger(nullptr, "INFO") << "Running off screen with nothing to write; stop with Ctrl-C";
            return;
        }
        // What is written shows the pages with their data, as a person sees them a moment later.
        host.settleWithPageData([&] {
            if (!options.screenshotPath.isEmpty() && !host.writeScreenshot(options.screenshotPath, &error))
                status = usageError(error);
            if (!options.dumpPath.isEmpty() && !host.writeViewDump(options.dumpPath, &error))
                status = usageError(error);
            QApplication::exit(status == 0 ? 0 : 1);
        });
    });
    if (script)
        QObject::connect(script, &ScriptRunner::finished, &app, [](int exitStatus) { QApplication::exit(exitStatus); });
    return app.exec();
}
