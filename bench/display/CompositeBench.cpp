// One frame of a native window shown inside the UI: from the moment the window's program has
// drawn, through the damage event, the pixels read and the view painted into the display's
// image. A 1856x984 window, as a page on the bench; all of it changed, or only a caret.
#include "X11TestWindow.h"

#include "display/DisplayDevice.h"
#include "views/ExternalMultiTouchView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>

#include <benchmark/benchmark.h>

namespace {

class PageView : public ExternalMultiTouchView {
public:
    using ExternalMultiTouchView::ExternalMultiTouchView;
    unsigned long findX11Window(unsigned long) override { return window; }
    unsigned long window = 0;
};

void compositedFrame(benchmark::State& state)
{
    const bool whole = state.range(0) != 0;
    X11TestWindow page;
    if (!page.isValid()) {
        state.SkipWithError("no X display");
        return;
    }
    DisplayView root;
    root.resize(1920, 1200);
    DisplayDevice display(&root, QSize(1920, 1200));
    PageView view(&root);
    view.setGeometry(QRect(32, 52, 1856, 984));
    view.window = page.id();
    view.resetLayerIfNecessary();
    if (!view.isComposited()) {
        state.SkipWithError("the X server cannot redirect windows");
        return;
    }
    QImage screen(1920, 1200, QImage::Format_RGB32);
    QPainter painter(&screen);
    QRect requested;
    QObject::connect(&display, &DisplayDevice::areaRequested, [&](const QRect& area) { requested = area; });
    const QRect caret(700, 400, 2, 22);
    int frame = 0;
    for (auto _ : state) {
        requested = QRect();
        page.fill(frame++ % 2 ? QColor(250, 250, 250) : QColor(20, 40, 60), whole ? QRect() : caret);
        QElapsedTimer timer;
        timer.start();
        while (!requested.isValid())
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        display.paint(painter, requested);
        state.SetIterationTime(timer.nsecsElapsed() / 1e9);
    }
    const QPoint probe = view.rootGeometry().topLeft() + (whole ? QPoint(5, 5) : caret.topLeft());
    if (screen.pixelColor(probe) != (frame % 2 ? QColor(20, 40, 60) : QColor(250, 250, 250)))
        state.SkipWithError("the last frame did not show the window's pixels");
}
BENCHMARK(compositedFrame)
    ->ArgName("whole")
    ->Arg(1)
    ->Arg(0)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(200)
    ->Repetitions(7)
    ->ReportAggregatesOnly(true);

} // namespace

int main(int argc, char** argv)
{
    // Qt paints off screen; the windows live on the X display, as Chromium's do.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
