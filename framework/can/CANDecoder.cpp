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

CANDecoder::CANDecoder(std::shared_ptr<const CANData> catalogue, CANClock& clock)
    : mCatalogue(std::move(catalogue))
    , mClock(clock)
    , mIds(*mCatalogue)
    , mSlots(new Slot[size_t(mCatalogue->signalCount())])
    , mMessages(new Message[size_t(mCatalogue->messageCount())])
    , mBusCount(mCatalogue->busCount())
    , mBusCounters(new BusCounters[size_t(mBusCount + 1)])
{
    for (int b = 0; b < mBusCount; ++b) {
        const CANBusNode* bus = mCatalogue->busAt(b);
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* node = bus->messageAt(m);
            Message& message = mMessages[size_t(node->globalIndex())];
            message.definition = &node->definition();
            message.firstSignal = node->signalCount() > 0 ? uint32_t(node->signalAt(0)->id()) : 0;
            message.signalCount = uint32_t(node->signalCount());
            message.length = node->definition().dlc;
        }
    }
    for (int id = 0; id < mCatalogue->signalCount(); ++id) {
        const DbcSignal& s = mCatalogue->signalById(id)->definition();
        mSlots[size_t(id)].layout = s.layout;
        mSlots[size_t(id)].multiplexed = s.muxSwitch != -1;
    }
}

CANDecoder::~CANDecoder() = default;

CANDecoder::Message& CANDecoder::messageOf(int signalId) const
{
    return mMessages[size_t(mCatalogue->signalById(signalId)->message()->globalIndex())];
}

void CANDecoder::capture(int signalId)
{
    if (!mCatalogue->signalById(signalId))
        return;
    Slot& slot = mSlots[size_t(signalId)];
    if (slot.captures.load() == 0)
        slot.hasValue.store(false);
    if (slot.captures.fetch_add(1) == 0)
        messageOf(signalId).capturedSignals.fetch_add(1);
}

void CANDecoder::release(int signalId)
{
    if (!mCatalogue->signalById(signalId))
        return;
    Slot& slot = mSlots[size_t(signalId)];
    int n = slot.captures.load();
    while (n > 0 && !slot.captures.compare_exchange_weak(n, n - 1)) {
    }
    if (n == 1)
        messageOf(signalId).capturedSignals.fetch_sub(1);
}

void CANDecoder::takeOverCaptures(const CANDecoder& previous)
{
    for (int id = 0; id < previous.mCatalogue->signalCount(); ++id) {
        const CANSignalNode* node = previous.mCatalogue->signalById(id);
        const int captures = previous.mSlots[size_t(id)].captures.load();
        if (captures == 0 || mCatalogue->signalById(id) != node)
            continue;
        if (mSlots[size_t(id)].captures.exchange(captures) == 0)
            messageOf(id).capturedSignals.fetch_add(1);
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
    uint64_t errors = 0, unknown = 0, shortFrames = 0;
    for (size_t i = 0; i < count; ++i) {
        const CanFrame& frame = frames[i];
        if (frame.flags & CanFrame::ErrorReport) {
            ++errors;
            continue;
        }
        const int message = mIds.messageFor(bus, frame.id, frame.isExtended());
        if (message < 0)
            ++unknown;
        else if (!decodeMessage(mMessages[size_t(message)], frame))
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
        const int message = mIds.messageFor(b, frame.id, frame.isExtended());
        if (message >= 0) {
            BusCounters& c = countersFor(b);
            c.frames.fetch_add(1, std::memory_order_relaxed);
            if (!decodeMessage(mMessages[size_t(message)], frame))
                c.shortFrames.fetch_add(1, std::memory_order_relaxed);
            return;
        }
    }
    BusCounters& c = countersFor(Unrouted);
    c.frames.fetch_add(1, std::memory_order_relaxed);
    c.unknownIds.fetch_add(1, std::memory_order_relaxed);
}

bool CANDecoder::decodeMessage(const Message& message, const CanFrame& frame)
{
    const bool whole = frame.len >= message.length || frame.isRemote();
    if (frame.isRemote() || message.capturedSignals.load(std::memory_order_relaxed) == 0)
        return whole;
    Slot* slot = &mSlots[message.firstSignal];
    for (uint32_t i = 0; i < message.signalCount; ++i, ++slot) {
        if (slot->captures.load(std::memory_order_relaxed) == 0 || slot->layout.bytesNeeded() > frame.len)
            continue;
        // A value the multiplexer no longer selects is not the signal's value any more.
        if (slot->multiplexed && !isSelected(*message.definition, message.definition->signalList[i], frame)) {
            slot->hasValue.store(false, std::memory_order_release);
            continue;
        }
        slot->bits.store(slot->layout.extract(frame.data), std::memory_order_relaxed);
        slot->hasValue.store(true, std::memory_order_release);
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
    const CANClock::TimePoint now = mClock.now();
    if (c.sampleTime == CANClock::TimePoint{}) {
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
