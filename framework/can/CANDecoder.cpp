#include "can/CANDecoder.h"

#include "can/CANData.h"

#include <cmath>

namespace {

// Whether the frame's multiplexers select this signal (and, for extended multiplexing, every
// switch above it). Chains are loop-free and short; the parser guarantees both.
bool isSelected(const DbcMessage& m, const DbcSignal& s, const CanFrame& frame)
{
    const DbcSignal* at = &s;
    while (at->muxSwitch != -1) {
        if (at->muxSwitch < 0)
            return false;
        const DbcSignal& sw = m.signalList[size_t(at->muxSwitch)];
        if (sw.layout.bytesNeeded() > frame.len)
            return false;
        const uint64_t value = sw.layout.extract(frame.data);
        bool inRange = false;
        for (const MuxRange& r : at->muxRanges)
            inRange |= value >= r.low && value <= r.high;
        if (!inRange)
            return false;
        at = &sw;
    }
    return true;
}

} // namespace

CANDecoder::CANDecoder(std::shared_ptr<const CANData> catalogue)
    : mCatalogue(std::move(catalogue))
    , mSlots(new Slot[size_t(mCatalogue->signalCount())])
    , mCapturedPerMessage(new std::atomic<int>[size_t(mCatalogue->messageCount())])
    , mBusCount(mCatalogue->busCount())
    , mBusCounters(new BusCounters[size_t(mBusCount + 1)])
{
    for (int i = 0; i < mCatalogue->messageCount(); ++i)
        mCapturedPerMessage[size_t(i)].store(0);
}

CANDecoder::~CANDecoder() = default;

void CANDecoder::capture(int signalId)
{
    const CANSignalNode* node = mCatalogue->signalById(signalId);
    if (!node)
        return;
    Slot& slot = mSlots[size_t(signalId)];
    if (slot.captures.load() == 0)
        slot.hasValue.store(false);
    if (slot.captures.fetch_add(1) == 0)
        mCapturedPerMessage[size_t(node->message()->globalIndex())].fetch_add(1);
}

void CANDecoder::release(int signalId)
{
    const CANSignalNode* node = mCatalogue->signalById(signalId);
    if (!node)
        return;
    Slot& slot = mSlots[size_t(signalId)];
    int n = slot.captures.load();
    while (n > 0 && !slot.captures.compare_exchange_weak(n, n - 1)) {
    }
    if (n == 1)
        mCapturedPerMessage[size_t(node->message()->globalIndex())].fetch_sub(1);
}

void CANDecoder::takeOverCaptures(const CANDecoder& previous)
{
    for (int id = 0; id < previous.mCatalogue->signalCount(); ++id) {
        const CANSignalNode* node = previous.mCatalogue->signalById(id);
        const int captures = previous.mSlots[size_t(id)].captures.load();
        if (captures == 0 || mCatalogue->signalById(id) != node)
            continue;
        if (mSlots[size_t(id)].captures.exchange(captures) == 0)
            mCapturedPerMessage[size_t(node->message()->globalIndex())].fetch_add(1);
    }
}

void CANDecoder::clearValuesAndCounters()
{
    for (int i = 0; i < mCatalogue->signalCount(); ++i)
        mSlots[size_t(i)].hasValue.store(false);
    for (int b = Unrouted; b < mBusCount; ++b) {
        BusCounters& c = countersFor(b);
        for (std::atomic<uint64_t>* n : {&c.frames, &c.unknownIds, &c.shortFrames, &c.droppedFrames, &c.errorFrames})
            n->store(0);
        std::lock_guard<std::mutex> lock(c.rateMutex);
        c.sampleTime = {};
        c.sampleFrames = 0;
        c.rate = 0;
    }
}

bool CANDecoder::isCaptured(int signalId) const
{
    return mCatalogue->signalById(signalId) && mSlots[size_t(signalId)].captures.load() > 0;
}

void CANDecoder::decode(const CanFrame* frames, size_t count, int bus)
{
    if (bus >= mBusCount || bus < 0) {
        for (size_t i = 0; i < count; ++i)
            decodeUnrouted(frames[i]);
        return;
    }
    const CANBusNode* node = mCatalogue->busAt(bus);
    uint64_t errors = 0, unknown = 0, shortFrames = 0;
    for (size_t i = 0; i < count; ++i) {
        const CanFrame& frame = frames[i];
        if (frame.flags & CanFrame::ErrorReport) {
            ++errors;
            continue;
        }
        const int message = node->messageIndexForFrame(frame.id, frame.isExtended());
        if (message < 0)
            ++unknown;
        else if (!decodeMessage(bus, message, frame))
            ++shortFrames;
    }
    BusCounters& c = countersFor(bus);
    if (count > errors)
        c.frames.fetch_add(count - errors, std::memory_order_relaxed);
    if (errors)
        c.errorFrames.fetch_add(errors, std::memory_order_relaxed);
    if (unknown)
        c.unknownIds.fetch_add(unknown, std::memory_order_relaxed);
    if (shortFrames)
        c.shortFrames.fetch_add(shortFrames, std::memory_order_relaxed);
}

void CANDecoder::decodeUnrouted(const CanFrame& frame)
{
    if (frame.flags & CanFrame::ErrorReport) {
        countErrorFrame(Unrouted);
        return;
    }
    for (int b = 0; b < mBusCount; ++b) {
        const int message = mCatalogue->busAt(b)->messageIndexForFrame(frame.id, frame.isExtended());
        if (message >= 0) {
            BusCounters& c = countersFor(b);
            c.frames.fetch_add(1, std::memory_order_relaxed);
            if (!decodeMessage(b, message, frame))
                c.shortFrames.fetch_add(1, std::memory_order_relaxed);
            return;
        }
    }
    BusCounters& c = countersFor(Unrouted);
    c.frames.fetch_add(1, std::memory_order_relaxed);
    c.unknownIds.fetch_add(1, std::memory_order_relaxed);
}

bool CANDecoder::decodeMessage(int bus, int message, const CanFrame& frame)
{
    const CANMessageNode* node = mCatalogue->busAt(bus)->messageAt(message);
    const DbcMessage& m = node->definition();
    const bool whole = frame.len >= m.dlc || frame.isRemote();
    if (frame.isRemote() || mCapturedPerMessage[size_t(node->globalIndex())].load(std::memory_order_relaxed) == 0)
        return whole;
    const int firstId = node->signalCount() > 0 ? node->signalAt(0)->id() : 0;
    const size_t count = m.signalList.size();
    for (size_t i = 0; i < count; ++i) {
        Slot& slot = mSlots[size_t(firstId) + i];
        if (slot.captures.load(std::memory_order_relaxed) == 0)
            continue;
        const DbcSignal& s = m.signalList[i];
        if (s.layout.bytesNeeded() > frame.len)
            continue;
        // A value the multiplexer no longer selects is not the signal's value any more.
        if (s.muxSwitch != -1 && !isSelected(m, s, frame)) {
            slot.hasValue.store(false, std::memory_order_release);
            continue;
        }
        slot.bits.store(s.layout.extract(frame.data), std::memory_order_relaxed);
        slot.hasValue.store(true, std::memory_order_release);
    }
    return whole;
}

void CANDecoder::countDropped(int bus, uint64_t frames)
{
    countersFor(bus >= mBusCount || bus < 0 ? Unrouted : bus).droppedFrames.fetch_add(frames, std::memory_order_relaxed);
}

void CANDecoder::countErrorFrame(int bus)
{
    countersFor(bus >= mBusCount || bus < 0 ? Unrouted : bus).errorFrames.fetch_add(1, std::memory_order_relaxed);
}

bool CANDecoder::latestValue(int signalId, double* value, int64_t* raw) const
{
    const CANSignalNode* node = mCatalogue->signalById(signalId);
    if (!node)
        return false;
    const Slot& slot = mSlots[size_t(signalId)];
    if (!slot.hasValue.load(std::memory_order_acquire))
        return false;
    const uint64_t bits = slot.bits.load(std::memory_order_relaxed);
    const DbcSignal& s = node->definition();
    if (value)
        *value = s.layout.toNumber(bits) * s.factor + s.offset;
    if (raw)
        *raw = s.layout.toSigned(bits);
    return true;
}

QString CANDecoder::formattedValue(int signalId, int decimals, const QString& noValue) const
{
    double value = 0;
    int64_t raw = 0;
    if (!latestValue(signalId, &value, &raw))
        return noValue;
    const CANSignalNode* node = mCatalogue->signalById(signalId);
    if (node->definition().layout.type == SignalLayout::ValueType::Integer && !node->definition().labels.empty()) {
        const QString label = node->labelFor(raw);
        if (!label.isNull())
            return QStringLiteral("%1 (%2)").arg(raw).arg(label);
    }
    if (std::isnan(value))
        return QStringLiteral("NaN");
    return QString::number(value, 'f', decimals < 0 ? 0 : decimals);
}

CANDecoder::Counters CANDecoder::counters(int bus) const
{
    Counters out;
    if (bus < Unrouted || bus >= mBusCount)
        return out;
    const BusCounters& c = countersFor(bus);
    out.frames = c.frames.load(std::memory_order_relaxed);
    out.unknownIds = c.unknownIds.load(std::memory_order_relaxed);
    out.shortFrames = c.shortFrames.load(std::memory_order_relaxed);
    out.droppedFrames = c.droppedFrames.load(std::memory_order_relaxed);
    out.errorFrames = c.errorFrames.load(std::memory_order_relaxed);
    std::lock_guard<std::mutex> lock(c.rateMutex);
    const auto now = std::chrono::steady_clock::now();
    if (c.sampleTime == std::chrono::steady_clock::time_point{}) {
        c.sampleTime = now;
        c.sampleFrames = out.frames;
    } else {
        const double elapsed = std::chrono::duration<double>(now - c.sampleTime).count();
        if (elapsed >= 1.0) {
            c.rate = double(out.frames - c.sampleFrames) / elapsed;
            c.sampleTime = now;
            c.sampleFrames = out.frames;
        }
    }
    out.framesPerSecond = c.rate;
    return out;
}
