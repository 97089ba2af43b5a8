#include "can/CANDataManager.h"

#include "can/CANData.h"
#include "can/CANTrafficGenerator.h"
#include "can/CandumpReplay.h"
#include "can/SocketCANSource.h"
#include "core/Logger.h"

#include <QElapsedTimer>

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

struct Runner {
    std::unique_ptr<CANFrameSource> source;
    std::thread thread;
    std::atomic<bool> stop{false};
    std::atomic<bool> running{false};
    std::atomic<bool> failed{false};
    bool started = false;

    ~Runner()
    {
        stop = true;
        if (thread.joinable())
            thread.join();
    }
};

struct State {
    // The catalogue must outlive the workers that read it, so it is made first.
    State() { CANData::global(); }

    std::unique_ptr<CANDecoder> decoder;
    int decoderSignals = -1, decoderMessages = -1, decoderBuses = -1;
    std::vector<std::pair<QString, QString>> interfaceMap;
    std::vector<std::unique_ptr<Runner>> runners;
};

State& state()
{
    static State s;
    return s;
}

CANInterfaceRoutes currentRoutes()
{
    CANInterfaceRoutes routes(CANData::global());
    for (const auto& m : state().interfaceMap)
        routes.map(m.first, m.second);
    return routes;
}

void launch(Runner& r, CANDecoder& decoder)
{
    if (r.thread.joinable())
        r.thread.join();
    r.stop = false;
    r.failed = false;
    r.running = true;
    r.started = true;
    r.thread = std::thread([&r, &decoder] {
        const CANFrameSource::Outcome outcome = r.source->run(decoder, r.stop);
        r.failed = outcome == CANFrameSource::Outcome::Failed;
        r.running = false;
    });
}

void halt(Runner& r)
{
    r.stop = true;
    if (r.thread.joinable())
        r.thread.join();
    r.running = false;
}

} // namespace

CANDecoder* CANDataManager::decoder()
{
    State& s = state();
    const CANData& c = CANData::global();
    if (!s.decoder || s.decoderSignals != c.signalCount() || s.decoderMessages != c.messageCount()
        || s.decoderBuses != c.busCount()) {
        // The catalogue changed behind our back: nothing may decode into the old layout.
        for (auto& r : s.runners)
            halt(*r);
        s.decoder = std::make_unique<CANDecoder>(c);
        s.decoderSignals = c.signalCount();
        s.decoderMessages = c.messageCount();
        s.decoderBuses = c.busCount();
    }
    return s.decoder.get();
}

bool CANDataManager::loadCatalogue(const QStringList& busArguments)
{
    removeSources();
    State& s = state();
    s.decoder.reset();
    CANData& c = CANData::global();
    c.clear();
    for (const QString& argument : busArguments) {
        QString bus, path;
        CANData::splitBusArgument(argument, &bus, &path);
        c.addBusFromFile(path, bus);
    }
    decoder();
    if (c.busCount() == 0) {
        Logger(nullptr, "ERROR") << "CAN catalogue is empty: no bus could be loaded";
        return false;
    }
    Logger(nullptr, "INFO") << "CAN catalogue:" << c.busCount() << "buses," << c.messageCount() << "messages,"
                            << c.signalCount() << "signals";
    return true;
}

CANData& CANDataManager::catalogue() { return CANData::global(); }
CANBusNode* CANDataManager::findBus(const QString& name) { return CANData::global().findBus(name); }
CANMessageNode* CANDataManager::findMessage(CANBusNode* bus, const QString& name)
{
    return CANData::global().findMessage(bus, name);
}
CANSignalNode* CANDataManager::findSignal(CANMessageNode* message, const QString& name)
{
    return CANData::global().findSignal(message, name);
}

void CANDataManager::startCapture(CANSignalNode* signal)
{
    if (signal && CANData::global().signalById(signal->id()) == signal)
        decoder()->capture(signal->id());
}

void CANDataManager::stopCapture(CANSignalNode* signal)
{
    if (signal && CANData::global().signalById(signal->id()) == signal)
        decoder()->release(signal->id());
}

void CANDataManager::ensureCaptureIsActive()
{
    CANDecoder* d = decoder();
    for (auto& r : state().runners) {
        if (r->running)
            continue;
        if (!r->started || (r->failed && r->source->retryAfterFailure()))
            launch(*r, *d);
    }
}

bool CANDataManager::isHighPrecision(const QString& signalName)
{
    return CANData::global().isHighPrecision(signalName);
}

QString CANDataManager::recentSignalValueAsString(int signalId, int age, int decimals, const QString& noValue)
{
    if (age != 0)
        return noValue;
    return decoder()->formattedValue(signalId, decimals, noValue);
}

bool CANDataManager::recentSignalValue(int signalId, double* value)
{
    return decoder()->latestValue(signalId, value);
}

bool CANDataManager::mapInterface(const QString& iface, const QString& bus)
{
    if (!CANData::global().findBus(bus)) {
        Logger(nullptr, "ERROR") << "CAN interface" << iface << "mapped to unknown bus" << bus;
        return false;
    }
    state().interfaceMap.emplace_back(iface, bus);
    return true;
}

void CANDataManager::addLogReplay(const QString& path, double speed, bool loop)
{
    auto r = std::make_unique<Runner>();
    r->source = std::make_unique<CandumpReplay>(path, speed, loop, currentRoutes());
    state().runners.push_back(std::move(r));
}

void CANDataManager::addInterface(const QString& iface)
{
    auto r = std::make_unique<Runner>();
    r->source = std::make_unique<SocketCANSource>(iface, currentRoutes().busFor(iface.toStdString()));
    state().runners.push_back(std::move(r));
}

void CANDataManager::addGenerator(double speed, CANTrafficGenerator::ValueSource values)
{
    auto r = std::make_unique<Runner>();
    r->source = std::make_unique<CANTrafficGenerator>(CANData::global(), speed, std::move(values));
    state().runners.push_back(std::move(r));
}

void CANDataManager::switchToLogReplay(const QString& path, double speed, bool loop)
{
    stopSources();
    state().runners.clear();
    decoder()->clearValuesAndCounters();
    addLogReplay(path, speed, loop);
    startSources();
}

int CANDataManager::sourceCount() { return int(state().runners.size()); }

void CANDataManager::startSources()
{
    CANDecoder* d = decoder();
    for (auto& r : state().runners) {
        if (!r->running) {
            Logger(nullptr, "INFO") << "CAN capture from" << r->source->description();
            launch(*r, *d);
        }
    }
}

void CANDataManager::stopSources()
{
    for (auto& r : state().runners)
        halt(*r);
}

void CANDataManager::removeSources()
{
    stopSources();
    state().runners.clear();
    state().interfaceMap.clear();
}

bool CANDataManager::waitForSources(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        bool any = false;
        for (auto& r : state().runners)
            any |= r->running.load();
        if (!any)
            return true;
        if (timer.elapsed() >= timeoutMs)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

CANDecoder::Counters CANDataManager::busCounters(int bus)
{
    return decoder()->counters(bus);
}
