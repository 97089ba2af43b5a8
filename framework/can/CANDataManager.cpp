#include "can/CANDataManager.h"

#include "can/CANData.h"
#include "can/CANTrafficGenerator.h"
#include "can/CandumpReplay.h"
#include "can/SocketCANSource.h"
#include "core/Logger.h"

#include <QElapsedTimer>

#include <memory>
#include <thread>
#include <vector>

namespace {

using Outcome = CANFrameSource::Outcome;

struct Runner {
    std::unique_ptr<CANFrameSource> source;
    std::thread thread;
    std::atomic<bool> stop{false};
    std::atomic<bool> running{false};
    std::atomic<Outcome> outcome{Outcome::Finished};
    bool started = false;

    ~Runner()
    {
        stop = true;
        if (thread.joinable())
            thread.join();
    }
};

struct State {
    // The decoder and its catalogue's routes are declared before the runners, so they outlive
    // the workers that use them.
    std::unique_ptr<CANDecoder> decoder = std::make_unique<CANDecoder>(std::make_shared<const CANData>());
    CANInterfaceRoutes routes;
    std::vector<std::pair<QString, QString>> interfaceMap;  // by name: outlives catalogues
    std::vector<std::unique_ptr<Runner>> runners;
};

State& state()
{
    static State s;
    return s;
}

CANInterfaceRoutes routesFor(const CANData& catalogue)
{
    CANInterfaceRoutes routes(catalogue);
    for (const auto& m : state().interfaceMap) {
        if (!routes.map(m.first, m.second))
            Logger(nullptr, "WARN") << "CAN interface" << m.first << "is mapped to bus" << m.second
                                    << "which the catalogue no longer has";
    }
    return routes;
}

void launch(Runner& r)
{
    if (r.thread.joinable())
        r.thread.join();
    r.stop = false;
    r.running = true;
    r.started = true;
    // The worker's own copy of the routes: mapping an interface later changes only later runs.
    r.thread = std::thread([&r, &decoder = *state().decoder, routes = state().routes] {
        r.outcome = r.source->run(decoder, routes, r.stop);
        r.running = false;
    });
}

void addSource(std::unique_ptr<CANFrameSource> source)
{
    auto r = std::make_unique<Runner>();
    r->source = std::move(source);
    state().runners.push_back(std::move(r));
}

// True when the source was running and only the request stopped it.
bool halt(Runner& r)
{
    const bool wasRunning = r.running;
    r.stop = true;
    if (r.thread.joinable())
        r.thread.join();
    r.running = false;
    return wasRunning && r.outcome == Outcome::Stopped;
}

// Nothing may decode into the old layout, so the workers stop before the new catalogue's
// decoder takes over, and those that were running start again on it.
void publish(std::shared_ptr<const CANData> catalogue)
{
    State& s = state();
    std::vector<Runner*> interrupted;
    for (auto& r : s.runners) {
        if (halt(*r))
            interrupted.push_back(r.get());
    }
    s.routes = routesFor(*catalogue);
    auto decoder = std::make_unique<CANDecoder>(std::move(catalogue));
    decoder->takeOverCaptures(*s.decoder);
    s.decoder = std::move(decoder);
    for (Runner* r : interrupted)
        launch(*r);
    if (!interrupted.empty())
        Logger(nullptr, "INFO") << "CAN capture restarted on the changed catalogue:" << int(interrupted.size()) << "of"
                                << int(s.runners.size()) << "sources";
}

} // namespace

CANDecoder* CANDataManager::decoder() { return state().decoder.get(); }

bool CANDataManager::loadCatalogue(const QStringList& busArguments)
{
    CANData c;
    for (const QString& argument : busArguments) {
        QString bus, path;
        CANData::splitBusArgument(argument, &bus, &path);
        c.addBusFromFile(path, bus);
    }
    const bool loaded = c.busCount() > 0;
    if (loaded)
        Logger(nullptr, "INFO") << "CAN catalogue:" << c.busCount() << "buses," << c.messageCount() << "messages,"
                                << c.signalCount() << "signals";
    else
        Logger(nullptr, "ERROR") << "CAN catalogue is empty: no bus could be loaded";
    replaceCatalogue(std::move(c));
    return loaded;
}

void CANDataManager::replaceCatalogue(CANData catalogue)
{
    publish(std::make_shared<const CANData>(std::move(catalogue)));
}

bool CANDataManager::addBusFromText(const QByteArray& text, const QString& busName, const QString& sourceName)
{
    CANData grown = catalogue();
    if (!grown.addBusFromText(text, busName, sourceName))
        return false;
    publish(std::make_shared<const CANData>(std::move(grown)));
    return true;
}

const CANData& CANDataManager::catalogue() { return state().decoder->catalogue(); }
CANBusNode* CANDataManager::findBus(const QString& name) { return catalogue().findBus(name); }
CANMessageNode* CANDataManager::findMessage(CANBusNode* bus, const QString& name)
{
    return catalogue().findMessage(bus, name);
}
CANSignalNode* CANDataManager::findSignal(CANMessageNode* message, const QString& name)
{
    return catalogue().findSignal(message, name);
}

void CANDataManager::startCapture(CANSignalNode* signal)
{
    if (signal && catalogue().signalById(signal->id()) == signal)
        decoder()->capture(signal->id());
}

void CANDataManager::stopCapture(CANSignalNode* signal)
{
    if (signal && catalogue().signalById(signal->id()) == signal)
        decoder()->release(signal->id());
}

void CANDataManager::ensureCaptureIsActive()
{
    for (auto& r : state().runners) {
        if (r->running)
            continue;
        if (!r->started || (r->outcome == Outcome::Failed && r->source->retryAfterFailure()))
            launch(*r);
    }
}

bool CANDataManager::isHighPrecision(const QString& signalName)
{
    return catalogue().isHighPrecision(signalName);
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
    if (!state().routes.map(iface, bus)) {
        Logger(nullptr, "ERROR") << "CAN interface" << iface << "mapped to unknown bus" << bus;
        return false;
    }
    state().interfaceMap.emplace_back(iface, bus);
    return true;
}

void CANDataManager::addLogReplay(const QString& path, double speed, bool loop)
{
    addSource(std::make_unique<CandumpReplay>(path, speed, loop));
}

void CANDataManager::addInterface(const QString& iface)
{
    addSource(std::make_unique<SocketCANSource>(iface));
}

void CANDataManager::addGenerator(double speed, CANTrafficGenerator::ValueSource values)
{
    addSource(std::make_unique<CANTrafficGenerator>(speed, std::move(values)));
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
    for (auto& r : state().runners) {
        if (!r->running) {
            Logger(nullptr, "INFO") << "CAN capture from" << r->source->description();
            launch(*r);
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
    state().routes = CANInterfaceRoutes(catalogue());
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
