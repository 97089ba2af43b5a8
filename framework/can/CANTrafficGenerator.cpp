#include "can/CANTrafficGenerator.h"

#include "can/CANData.h"
#include "can/CANDecoder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <queue>

// Batches wake the pacer on its own grid, sharing wake-ups with the paced logs.
static_assert(CANTrafficGenerator::Batch % CANPacer::Tick == CANPacer::Tick.zero());

namespace {

using TimePoint = CANClock::TimePoint;
constexpr int DefaultCycleMs = 100;
constexpr double Pi = 3.14159265358979323846;

// A stable pseudo-random number in [0, 1) per signal, so waves differ but runs repeat.
double hashUnit(uint64_t x)
{
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdull;
    x ^= x >> 33;
    x *= 0xc4ceb9fe1a85ec53ull;
    x ^= x >> 33;
    return double(x >> 11) / double(uint64_t(1) << 53);
}

uint64_t rawBitsFor(const DbcSignal& s, double physical)
{
    const SignalLayout& l = s.layout;
    if (l.type == SignalLayout::ValueType::Float32) {
        const float f = float(s.factor != 0 ? (physical - s.offset) / s.factor : physical);
        uint32_t b;
        std::memcpy(&b, &f, sizeof b);
        return b;
    }
    if (l.type == SignalLayout::ValueType::Float64) {
        const double d = s.factor != 0 ? (physical - s.offset) / s.factor : physical;
        uint64_t b;
        std::memcpy(&b, &d, sizeof b);
        return b;
    }
    double raw = s.factor != 0 ? std::round((physical - s.offset) / s.factor) : 0;
    const double lo = double(l.rawMinimum()), hi = double(l.rawMaximum());
    raw = std::clamp(raw, lo, hi);
    if (raw < 0)
        return uint64_t(int64_t(raw));
    return raw >= 1.8e19 ? l.rawMaximum() : uint64_t(raw);
}

// Physical range to move in: the catalogue's, or what the bits can hold when it gives none.
void rangeOf(const DbcSignal& s, double& lo, double& hi)
{
    lo = s.minimum;
    hi = s.maximum;
    if (hi > lo)
        return;
    if (s.layout.type != SignalLayout::ValueType::Integer) {
        lo = -100;
        hi = 100;
        return;
    }
    const double a = double(s.layout.rawMinimum()) * s.factor + s.offset;
    const double b = double(s.layout.rawMaximum()) * s.factor + s.offset;
    lo = std::min(a, b);
    hi = std::max(a, b);
}

} // namespace

CANTrafficGenerator::CANTrafficGenerator(double speed, ValueSource values, CANPacer& pacer)
    : mSpeed(speed > 0 ? speed : 1.0)
    , mValues(std::move(values))
    , mPacer(pacer)
{
}

QString CANTrafficGenerator::description() const
{
    return QStringLiteral("traffic generator");
}

std::vector<CANTrafficGenerator::Selector> CANTrafficGenerator::selectorsOf(const DbcMessage& m)
{
    std::vector<Selector> selectors;
    for (const DbcSignal& s : m.signalList)
        if (s.muxSwitch >= 0 && !s.muxRanges.empty())
            selectors.emplace_back(s.muxSwitch, s.muxRanges.front().low);
    std::sort(selectors.begin(), selectors.end());
    selectors.erase(std::unique(selectors.begin(), selectors.end()), selectors.end());
    return selectors;
}

void CANTrafficGenerator::makeFrame(const CANMessageNode& message, double seconds, uint64_t n, CanFrame& frame,
                                    const ValueSource& values)
{
    makeFrame(message, selectorsOf(message.definition()), seconds, n, frame, values);
}

void CANTrafficGenerator::makeFrame(const CANMessageNode& message, const std::vector<Selector>& selectors,
                                    double seconds, uint64_t n, CanFrame& frame, const ValueSource& values)
{
    const DbcMessage& m = message.definition();
    frame.id = m.id;
    frame.flags = m.extended ? CanFrame::Extended : 0;
    unsigned len = m.dlc;
    if (len > 8) {
        frame.flags |= CanFrame::Fd;
        while (!isValidFdLength(len))
            ++len;
    }
    frame.len = uint8_t(len);
    frame.clearData();

    for (size_t i = 0; i < m.signalList.size(); ++i) {
        const DbcSignal& s = m.signalList[i];
        if (s.isMultiplexor)
            continue;
        const uint64_t seed = (uint64_t(m.id) << 16) ^ uint64_t(i) ^ (uint64_t(message.globalIndex()) << 40);
        if (!s.labels.empty()) {
            const size_t step = size_t(seconds / (2.0 + 4.0 * hashUnit(seed)) + hashUnit(seed + 1) * 97);
            s.layout.insert(frame.data, uint64_t(s.labels[step % s.labels.size()].value));
            continue;
        }
        if (const std::optional<double> given = values ? values(message, s) : std::nullopt) {
            s.layout.insert(frame.data, rawBitsFor(s, *given));
            continue;
        }
        double lo, hi;
        rangeOf(s, lo, hi);
        const double period = 3.0 + 17.0 * hashUnit(seed);
        const double phase = 2 * Pi * hashUnit(seed + 7);
        const double value = lo + (hi - lo) * 0.5 * (1.0 + std::sin(2 * Pi * seconds / period + phase));
        s.layout.insert(frame.data, rawBitsFor(s, value));
    }
    // Selectors last, so they win where a multiplexed signal overlaps its switch's bits.
    if (!selectors.empty()) {
        const auto& pick = selectors[size_t(n % selectors.size())];
        m.signalList[size_t(pick.first)].layout.insert(frame.data, pick.second);
        // An extended chain: the chosen switch's own switch must select it too.
        const DbcSignal* at = &m.signalList[size_t(pick.first)];
        for (size_t depth = 0; at->muxSwitch >= 0 && !at->muxRanges.empty() && depth < m.signalList.size(); ++depth) {
            m.signalList[size_t(at->muxSwitch)].layout.insert(frame.data, at->muxRanges.front().low);
            at = &m.signalList[size_t(at->muxSwitch)];
        }
    }
}

// The generator's traffic, made on the pacer's thread as it falls due.
class CANTrafficGenerator::Traffic : public CANPacer::Client {
public:
    Traffic(CANTrafficGenerator& generator, CANDecoder& decoder, const std::atomic<bool>& stop)
        : mGenerator(generator)
        , mDecoder(decoder)
        , mCatalogue(decoder.catalogue())
        , mStop(stop)
    {
        for (int b = 0; b < mCatalogue.busCount(); ++b) {
            const CANBusNode* bus = mCatalogue.busAt(b);
            for (int i = 0; i < bus->messageCount(); ++i) {
                const CANMessageNode* m = bus->messageAt(i);
                if (m->signalCount() == 0)
                    continue;
                const double cycle = (m->cycleTimeMs() > 0 ? m->cycleTimeMs() : DefaultCycleMs) / 1000.0;
                mMessages.push_back({m, b, cycle, selectorsOf(m->definition())});
                // Spread the first frames over one cycle so the buses do not pulse.
                mQueue.push({cycle * hashUnit(uint64_t(m->globalIndex()) + 11), mMessages.size() - 1, 0});
            }
        }
    }

    bool empty() const { return mQueue.empty(); }
    void start(TimePoint now) { mStart = now; }

    // Waits for a stop request, which a pass notices.
    void waitForStop()
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mStopped.wait(lock, [this] { return mStop.load(); });
    }

    TimePoint deliverDue(TimePoint now) override
    {
        if (mStop.load(std::memory_order_relaxed)) {
            std::lock_guard<std::mutex> lock(mMutex);
            mStopped.notify_all();
            return TimePoint::max();
        }
        const double generated = std::chrono::duration<double>(now - mStart).count() * mGenerator.mSpeed;
        CanFrame batch[BatchFrames];
        size_t count = 0;
        int batchBus = -1;
        uint64_t sent = 0;
        while (mQueue.top().at <= generated) {
            Due next = mQueue.top();
            mQueue.pop();
            const Message& m = mMessages[next.message];
            if (count == BatchFrames || (count > 0 && m.bus != batchBus)) {
                mDecoder.decode(batch, count, batchBus);
                count = 0;
            }
            batchBus = m.bus;
            makeFrame(*m.node, m.selectors, next.at, next.count, batch[count++], mGenerator.mValues);
            ++sent;
            next.at += m.cycle;
            ++next.count;
            mQueue.push(next);
        }
        if (count > 0)
            mDecoder.decode(batch, count, batchBus);
        mGenerator.mSent.fetch_add(sent, std::memory_order_relaxed);
        const TimePoint due = mStart
            + std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(mQueue.top().at / mGenerator.mSpeed));
        return CANPacer::alignUp(due, Batch);
    }

private:
    static constexpr size_t BatchFrames = 64;
    struct Message {
        const CANMessageNode* node;
        int bus;
        double cycle;  // seconds
        std::vector<Selector> selectors;
    };
    struct Due {
        double at;  // seconds of generated time
        size_t message;
        uint64_t count;
        bool operator>(const Due& o) const { return at > o.at; }
    };

    CANTrafficGenerator& mGenerator;
    CANDecoder& mDecoder;
    const CANData& mCatalogue;
    const std::atomic<bool>& mStop;
    std::vector<Message> mMessages;
    std::priority_queue<Due, std::vector<Due>, std::greater<Due>> mQueue;
    TimePoint mStart;
    std::mutex mMutex;
    std::condition_variable mStopped;
};

CANFrameSource::Outcome CANTrafficGenerator::run(CANDecoder& decoder, const CANInterfaceRoutes&,
                                                 const std::atomic<bool>& stop)
{
    Traffic traffic(*this, decoder, stop);
    if (traffic.empty())
        return Outcome::Finished;
    traffic.start(mPacer.clock().now());
    mPacer.add(&traffic);
    traffic.waitForStop();
    mPacer.remove(&traffic);
    return Outcome::Stopped;
}
