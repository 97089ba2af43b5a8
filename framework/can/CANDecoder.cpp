#include "can/CANDecoder.h"

#include "can/CANData.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

namespace {

// Whether the frame's multiplexers select this signal (and, for extended multiplexing, every
// switch above it). Chains are loop-free and short; the parser guarantees both.
bool isSelected(const DbcMessage& m, const DbcSignal& s, const uint8_t* data, unsigned length)
{
    const DbcSignal* at = &s;
    while (at->muxSwitch != -1) {
        if (at->muxSwitch < 0)
            return false;
        const DbcSignal& sw = m.signalList[size_t(at->muxSwitch)];
        if (sw.layout.bytesNeeded() > length)
            return false;
        const uint64_t value = sw.layout.extract(data);
        bool inRange = false;
        for (const MuxRange& r : at->muxRanges)
            inRange |= value >= r.low && value <= r.high;
        if (!inRange)
            return false;
        at = &sw;
    }
    return true;
}

constexpr int FdWords = CanFrame::MaxLength / 8;

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
    std::vector<Message*> fd;
    for (int b = 0; b < mBusCount; ++b) {
        const CANBusNode* bus = mCatalogue->busAt(b);
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* node = bus->messageAt(m);
            Message& message = mMessages[size_t(node->globalIndex())];
            message.definition = &node->definition();
            message.firstSignal = node->signalCount() > 0 ? uint32_t(node->signalAt(0)->id()) : 0;
            message.signalCount = uint32_t(node->signalCount());
            message.length = uint8_t(std::min<unsigned>(node->definition().dlc, CanFrame::MaxLength));
            unsigned carrying = 0;
            for (const DbcSignal& s : node->definition().signalList)
                carrying = std::max(carrying, s.layout.bytesNeeded());
            message.carryingLength = uint8_t(carrying);
            message.wordCount = uint8_t((carrying + 7) / 8);
            if (message.wordCount > 1)
                fd.push_back(&message);
            for (int s = 0; s < node->signalCount(); ++s)
                mSlots[size_t(node->signalAt(s)->id())].message = uint32_t(node->globalIndex());
        }
    }
    mFdWords.reset(new std::atomic<uint64_t>[fd.size() * FdWords]);
    for (size_t i = 0; i < fd.size(); ++i) {
        for (int w = 0; w < FdWords; ++w)
            mFdWords[i * FdWords + size_t(w)].store(0, std::memory_order_relaxed);
        fd[i]->words = &mFdWords[i * FdWords];
    }
}

CANDecoder::~CANDecoder() = default;

void CANDecoder::capture(int signalId)
{
    if (!mCatalogue->signalById(signalId))
        return;
    Slot& slot = mSlots[size_t(signalId)];
    Message& message = messageOf(signalId);
    if (slot.captures.load() == 0)
        slot.capturedAfter.store(message.version.load());
    if (slot.captures.fetch_add(1) == 0)
        message.capturedSignals.fetch_add(1);
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
        mSlots[size_t(i)].capturedAfter.store(messageOf(i).version.load());
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

bool CANDecoder::decodeMessage(Message& message, const CanFrame& frame)
{
    const bool whole = frame.len >= message.length || frame.isRemote();
    if (frame.isRemote() || message.capturedSignals.load(std::memory_order_relaxed) == 0)
        return whole;
    // Sources feeding one bus may store frames of the same message at once: one at a time.
    uint64_t version = message.version.load(std::memory_order_relaxed);
    while ((version & 1) || !message.version.compare_exchange_weak(version, version + 1, std::memory_order_acquire,
                                                                   std::memory_order_relaxed)) {
        if (version & 1) {
            std::this_thread::yield();
            version = message.version.load(std::memory_order_relaxed);
        }
    }
    std::atomic_thread_fence(std::memory_order_release);
    version += 2;
    if (frame.len >= message.carryingLength) {
        for (unsigned w = 0; w < message.wordCount; ++w) {
            uint64_t word;
            std::memcpy(&word, frame.data + 8 * w, sizeof word);
            message.words[w].store(word, std::memory_order_relaxed);
        }
        message.storedVersion.store(version, std::memory_order_relaxed);
    } else {
        storeShortFrame(message, frame, version);
    }
    message.version.store(version, std::memory_order_release);
    return whole;
}

// A frame that cannot carry every signal leaves the stored frame alone: the captured signals
// it does carry keep their bits apart, and the others keep what they had.
void CANDecoder::storeShortFrame(Message& message, const CanFrame& frame, uint64_t version)
{
    for (uint32_t i = 0; i < message.signalCount; ++i) {
        Slot& slot = mSlots[message.firstSignal + i];
        const DbcSignal& s = message.definition->signalList[i];
        if (slot.captures.load(std::memory_order_relaxed) == 0 || s.layout.bytesNeeded() > frame.len)
            continue;
        const bool selected = s.muxSwitch == -1 || isSelected(*message.definition, s, frame.data, frame.len);
        if (selected)
            slot.shortBits.store(s.layout.extract(frame.data), std::memory_order_relaxed);
        slot.shortSelected.store(selected, std::memory_order_relaxed);
        slot.shortVersion.store(version, std::memory_order_relaxed);
    }
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
    const Message& message = messageOf(signalId);
    uint8_t data[CanFrame::BufferSize] = {};
    uint64_t storedVersion, shortVersion, shortBits;
    bool shortSelected;
    for (;;) {
        const uint64_t version = message.version.load(std::memory_order_acquire);
        if (version & 1) {
            std::this_thread::yield();
            continue;
        }
        for (unsigned w = 0; w < message.wordCount; ++w) {
            const uint64_t word = message.words[w].load(std::memory_order_relaxed);
            std::memcpy(data + 8 * w, &word, sizeof word);
        }
        storedVersion = message.storedVersion.load(std::memory_order_relaxed);
        shortVersion = slot.shortVersion.load(std::memory_order_relaxed);
        shortBits = slot.shortBits.load(std::memory_order_relaxed);
        shortSelected = slot.shortSelected.load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (message.version.load(std::memory_order_relaxed) == version)
            break;
    }
    const DbcSignal& s = node->definition();
    const uint64_t capturedAfter = slot.capturedAfter.load();
    uint64_t bits;
    if (shortVersion > storedVersion) {
        if (shortVersion <= capturedAfter || !shortSelected)
            return false;
        bits = shortBits;
    } else {
        // A value the multiplexer no longer selects is not the signal's value any more.
        if (storedVersion <= capturedAfter
            || (s.muxSwitch != -1 && !isSelected(*message.definition, s, data, message.carryingLength)))
            return false;
        bits = s.layout.extract(data);
    }
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
