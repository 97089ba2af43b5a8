// The CAN viewer's figures: one 10 Hz refresh with 200 selected signals (values formatted,
// visible rows painted), quiet and with six buses replaying 54,000 frames/s in total (target
// under 2 ms); opening the longest reference bus's list and a synthetic 5,000-message bus
// (target under 5 ms) and a scroll frame of each (target under 8 ms); loading a 2,000-line
// selection file (target under 20 ms).
#include "CanBenchSupport.h"
#include "can/CANDataManager.h"
#include "can/CANDecoder.h"
#include "diag/can/CANSelectionFile.h"
#include "diag/can/CANView.h"
#include "diag/can/CANViewTableModel.h"
#include "display/DisplayDevice.h"
#include "services/StorageUtils.h"
#include "views/KineticScroller.h"
#include "views/table/MultiTableView.h"
#include "views/table/TableModel.h"
#include "views/table/TableView.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <random>

namespace {

constexpr int SyntheticMessages = 5000;
const QRect ViewArea(32, 96, 1856, 1004);  // where the page puts the viewer on a 1920x1200 display

QTemporaryDir& scratch()
{
    static QTemporaryDir dir;
    return dir;
}

// Words of every letter, so a long list falls into many sections.
QByteArray syntheticCatalogue()
{
    static const char* const words[] = {"Accel", "Brake", "Cabin", "Door", "Engine", "Fan", "Gear", "Horn", "Inverter",
                                        "Jack", "Key", "Light", "Motor", "Nav", "Oil", "Pump", "Quiet", "Radar", "Seat",
                                        "Tyre", "Unit", "Valve", "Wiper", "Xfer", "Yaw", "Zone"};
    std::mt19937 random(5);
    QByteArray text;
    for (int m = 0; m < SyntheticMessages; ++m) {
        // Extended ids: more messages than 11 bits can name.
        text += "BO_ " + QByteArray::number(0x80000000u + 0x1000u + unsigned(m)) + ' ' + words[random() % 26] + '_'
                + QByteArray::number(m) + ": 8 X\n";
        for (int s = 0; s < 4; ++s)
            text += " SG_ S" + QByteArray::number(s) + " : " + QByteArray::number(s * 16) + "|16@1+ (0.1,0) [0|0] \"\" X\n";
    }
    return text;
}

// Reference catalogues, the sample twice more (six real buses to replay) and the synthetic bus.
void loadCatalogue()
{
    QStringList buses = referenceCatalogues();
    buses << "sample1=" + sourceDir() + "/assets/can/sample.dbc" << "sample2=" + sourceDir() + "/assets/can/sample.dbc";
    CANDataManager::loadCatalogue(buses);
    CANDataManager::addBusFromText(syntheticCatalogue(), "SYNTH", "synthetic");
}

int busNamed(const QByteArray& name)
{
    for (int b = 0; b < CANDataManager::catalogue().busCount(); ++b) {
        if (CANDataManager::catalogue().busAt(b)->name() == name)
            return b;
    }
    return -1;
}

int longestReferenceBus()
{
    int longest = 0;
    for (int b = 0; b < 4; ++b)
        longest = CANDataManager::catalogue().busAt(b)->messageCount() > CANDataManager::catalogue().busAt(longest)->messageCount() ? b : longest;
    return longest;
}

// The viewer as the page shows it, on a display, its picker's slides on a clock of our own.
struct Viewer {
    Viewer()
        : display(&root, QSize(1920, 1200))
        , view(new CANView(&root, nullptr, true))
        , canvas(1920, 1200, QImage::Format_RGB32)
    {
        root.resize(1920, 1200);
        view->setGeometry(ViewArea);
        view->leftTables()->scroller()->setClock([this] { return ms; });
    }
    ~Viewer() { delete view; }

    // The row of the top table that lists this bus.
    TableModelIndex busRow(int bus) const
    {
        TableView* top = view->leftTables()->tableAt(0);
        int start = 0;
        for (int s = 1; s <= top->model()->sectionCount(top->path()); ++s) {
            const int rows = top->model()->sectionItemCount(TableModelIndex(top->path(), s, 0));
            if (bus < start + rows)
                return TableModelIndex(top->path(), s, bus - start);
            start += rows;
        }
        return TableModelIndex();
    }
    TableView* open(int bus)
    {
        TableView* list = view->leftTables()->createTable(1, busRow(bus), 100.0);
        ms += 1000;  // the slide is over
        view->leftTables()->scroller()->tick();
        return list;
    }
    void paint(DisplayDevice& device)
    {
        QPainter painter(&canvas);
        device.paint(painter);
    }

    qint64 ms = 0;
    DisplayView root;
    DisplayDevice display;
    CANView* view;
    QImage canvas;
};

// Two hundred signals from all six replayed buses, each with a value.
void select200(CANViewTableModel* model)
{
    const CANData& c = CANDataManager::catalogue();
    int total = 0;
    for (int b = 0; b < 6; ++b)
        for (int m = 0; m < c.busAt(b)->messageCount(); ++m)
            total += c.busAt(b)->messageAt(m)->signalCount();
    const int step = total / 200;
    int n = 0;
    std::mt19937 random(9);
    for (int b = 0; b < 6; ++b) {
        for (int m = 0; m < c.busAt(b)->messageCount(); ++m) {
            const CANMessageNode* message = c.busAt(b)->messageAt(m);
            for (int s = 0; s < message->signalCount(); ++s) {
                if (n++ % step == 0 && model->modelSignals().size() < 200)
                    model->addItem(message->signalAt(s), true);
            }
            CanFrame frame;
            frame.id = message->frameId();
            frame.flags = message->isExtended() ? CanFrame::Extended : 0;
            frame.len = uint8_t(std::min<unsigned>(message->definition().dlc, 8));
            for (int i = 0; i < frame.len; ++i)
                frame.data[i] = uint8_t(random());
            CANDataManager::decoder()->decode(frame, b);
        }
    }
}

uint64_t framesSoFar()
{
    uint64_t frames = 0;
    for (int b = 0; b < 6; ++b)
        frames += CANDataManager::busCounters(b).frames;
    return frames;
}

void BM_RefreshWith200Signals(benchmark::State& state)
{
    const bool replaying = state.range(0) != 0;
    Viewer v;
    select200(v.view->selectedModel());
    DisplayDevice rightTable(v.view->rightTable(), QSize(1920, 1200));
    if (replaying) {
        // Six buses of about 9,000 frames/s each, looping, in real time.
        CANDataManager::removeSources();
        for (int b = 0; b < 6; ++b) {
            const QString iface = QStringLiteral("can%1").arg(b);
            const QString log = scratch().filePath(QStringLiteral("bus%1.log").arg(b));
            if (!QFile::exists(log))
                writeLog(log, CANDataManager::catalogue(), b, 9000 * 3, 1.0 / 9000, qPrintable(iface));
            CANDataManager::mapInterface(iface, QString::fromUtf8(CANDataManager::catalogue().busAt(b)->name()));
            CANDataManager::addLogReplay(log, 1.0, true);
        }
        CANDataManager::startSources();
    }
    const uint64_t frames0 = framesSoFar();
    const auto wall0 = std::chrono::steady_clock::now();
    for (auto _ : state) {
        v.view->refreshData();
        v.paint(rightTable);
    }
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
    state.counters["replayed_frames/s"] = double(framesSoFar() - frames0) / wall;
    state.counters["rows_painted"] = v.view->rightTable()->visibleCells().size();
    CANDataManager::removeSources();
}
BENCHMARK(BM_RefreshWith200Signals)->Arg(0)->Arg(1)->ArgNames({"replaying"})->Unit(benchmark::kMillisecond);

// First open of a bus's message list: its sections worked out, the table made and laid out,
// the left half painted once.
void BM_OpenMessageList(benchmark::State& state)
{
    const int bus = state.range(0) == 0 ? longestReferenceBus() : busNamed("SYNTH");
    for (auto _ : state) {
        state.PauseTiming();
        auto v = std::make_unique<Viewer>();
        DisplayDevice left(v->view->leftTables(), QSize(1920, 1200));
        state.ResumeTiming();
        v->open(bus);
        v->paint(left);
        state.PauseTiming();
        v.reset();
        state.ResumeTiming();
    }
    state.counters["messages"] = CANDataManager::catalogue().busAt(bus)->messageCount();
    state.SetLabel(QString::fromUtf8(CANDataManager::catalogue().busAt(bus)->name()).toStdString());
}
BENCHMARK(BM_OpenMessageList)->Arg(0)->Arg(1)->ArgNames({"synthetic"})->Unit(benchmark::kMillisecond);

// One frame of the whole display while the list scrolls by a finger's step.
void BM_ScrollFrame(benchmark::State& state)
{
    const int bus = state.range(0) == 0 ? longestReferenceBus() : busNamed("SYNTH");
    Viewer v;
    TableView* list = v.open(bus);
    const int range = qMax(1, list->contentHeight() - list->height());
    int offset = 0;
    for (auto _ : state) {
        offset = (offset + 37) % range;
        list->scroller()->setOffset(QPointF(0, offset));
        v.paint(v.display);
    }
    state.counters["content_px"] = list->contentHeight();
}
BENCHMARK(BM_ScrollFrame)->Arg(0)->Arg(1)->ArgNames({"synthetic"})->Unit(benchmark::kMillisecond);

// Reading a saved selection of 2,000 signals back into the table, and drawing it once ready.
void BM_LoadSelection2000Lines(benchmark::State& state)
{
    const CANData& c = CANDataManager::catalogue();
    QVector<CANSignalNode*> saved;
    for (int id = 0; id < c.signalCount() && saved.size() < 2000; id += 3)
        saved.append(c.signalById(id));
    const QByteArray text = CANSelectionFile::format(saved);
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove(CANView::selectionFilePath());
        auto v = std::make_unique<Viewer>();
        QFile file(CANView::selectionFilePath());
        file.open(QIODevice::WriteOnly);
        file.write(text);
        file.close();
        state.ResumeTiming();
        v->view->loadSettings();
        v->view->rightTable()->reloadData();
        state.PauseTiming();
        if (v->view->selectedModel()->modelSignals().size() != 2000)
            state.SkipWithError("the selection did not load whole");
        v.reset();
        state.ResumeTiming();
    }
    state.counters["file_bytes"] = text.size();
}
BENCHMARK(BM_LoadSelection2000Lines)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QuietLog quiet;
    QString error;
    StorageUtils::setDataFolder(scratch().filePath(QStringLiteral("data")), &error);
    StorageUtils::setAssetsFolder(sourceDir() + QStringLiteral("/assets"));
    loadCatalogue();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
