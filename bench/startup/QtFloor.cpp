// The least a Qt Widgets program does before its first frame: an off-screen application, a
// display-sized image and one line of text. startup-bench runs it beside the bench, so that
// the bench's figures can be read against what Qt itself needs on the machine at hand.
#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>

#include <sys/resource.h>

#include <cstdio>

int main(int, char** argv)
{
    QElapsedTimer sinceStart;
    sinceStart.start();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QImage frame(1920, 1200, QImage::Format_RGB32);
    frame.fill(Qt::black);
    {
        QPainter painter(&frame);
        painter.setPen(Qt::white);
        painter.drawText(40, 60, QStringLiteral("DATA 88 km/h"));
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    // In the bench's words, which startup-bench reads.
    std::printf("First frame painted after %d ms, peak memory %d MB\n", int(sinceStart.elapsed()),
                int(usage.ru_maxrss / 1024));
    return 0;
}
