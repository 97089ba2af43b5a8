#pragma once

#include "OrvaneExport.h"
#include "can/CANClock.h"
#include "can/CANIdTable.h"
#include "can/CanFrame.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

class CANData;
struct DbcMessage;

// Turns frames into the latest value of each captured signal.
//
// Threads: decode() and the count*() calls run on any number of source threads; capture
// changes and reads run on the UI thread. No mutex is taken on the frame path, and a frame
// costs the same however many signals its message has: the decoder keeps each message's
// latest frame and extracts a signal only when it is read, from the bits of one whole frame. Frames
// of messages without a captured signal cost one lookup; each bus has a row of atomic
// counters. The decoder keeps its catalogue alive and unchanged: another catalogue gets a
// decoder of its own.
//
// Between two batches everything goes cold, so a frame touches two cache lines: its id's
// entry in a flat table, and its message's line holding the stored frame.
class ORVANE_EXPORT CANDecoder {
public:
    struct Counters {
        uint64_t frames = 0;
        uint64_t unknownIds = 0;
        uint64_t shortFrames = 0;  // shorter than the message's length
        uint64_t droppedFrames = 0;  // lost before we could read them (socket overflow)
        uint64_t errorFrames = 0;
        double framesPerSecond = 0;
    };
    // Counters of frames that no bus of the catalogue could take.
    static constexpr int Unrouted = -1;

    explicit CANDecoder(std::shared_ptr<const CANData> catalogue, CANClock& clock = CANClock::steady());
    ~CANDecoder();

    const CANData& catalogue() const { return *mCatalogue; }

    // Reference counted: every capture() needs its release(). A signal whose capture starts
    // afresh shows no value until its next frame.
    void capture(int signalId);
    void release(int signalId);
    bool isCaptured(int signalId) const;
    // Captures the signals that this decoder's catalogue shares with `previous`'s (the same
    // nodes) as often as `previous` does: what was picked survives a catalogue grown by a bus.
    // Only while no source decodes.
    void takeOverCaptures(const CANDecoder& previous);
    // Forgets every value and zeroes the counters, captures kept: a new source starts clean.
    // Only while no source decodes.
    void clearValuesAndCounters();

    // `bus` is a catalogue bus index, or Unrouted to let the first bus that knows the id take
    // each frame. Frames flagged ErrorReport count as error frames. A batch moves the shared
    // counters once.
    void decode(const CanFrame* frames, size_t count, int bus);
    void decode(const CanFrame& frame, int bus) { decode(&frame, 1, bus); }
    void countDropped(int bus, uint64_t frames);
    void countErrorFrame(int bus);

    // The latest physical value; false before the first value, and for a multiplexed signal
    // while the last frame of its message did not select it.
    bool latestValue(int signalId, double* value, int64_t* raw = nullptr) const;
    // The value with `decimals` decimals, or the raw number and its label ("2 (DRIVE)") when the
    // catalogue labels that value; `noValue` before the first value.
    QString formattedValue(int signalId, int decimals, const QString& noValue) const;

    int busCount() const { return mBusCount; }
    // Frames per second are measured between successive calls at least a second apart on the
    // decoder's clock.
    Counters counters(int bus) const;

private:
    // A message's latest frame, on a line of its own so buses decoded on different threads
    // never share one. A frame is stored between two steps of `version`, which is odd
    // meanwhile: writers take turns on it, and readers copy again when it moved.
    struct alignas(64) Message {
        std::atomic<uint64_t> version{0};
        // The version of the stored frame: the latest long enough to carry every signal.
        std::atomic<uint64_t> storedVersion{0};
        std::atomic<uint64_t> firstWord{0};
        std::atomic<uint64_t>* words = &firstWord;  // CAN FD messages keep theirs elsewhere
        const DbcMessage* definition = nullptr;
        std::atomic<int> capturedSignals{0};
        uint32_t firstSignal = 0;  // signal ids of a message are consecutive
        uint32_t signalCount = 0;
        uint8_t length = 0;  // the catalogue's, for counting short frames
        uint8_t carryingLength = 0;  // bytes that carry every signal
        uint8_t wordCount = 0;
    };
    // A signal's capture, and what a frame too short to be stored left of it.
    struct Slot {
        std::atomic<int> captures{0};
        // Only frames after this version count: a capture that starts afresh shows nothing old.
        std::atomic<uint64_t> capturedAfter{0};
        std::atomic<uint64_t> shortVersion{0};
        std::atomic<uint64_t> shortBits{0};
        std::atomic<bool> shortSelected{false};
        uint32_t message = 0;
    };
    struct alignas(64) BusCounters {
        std::atomic<uint64_t> frames{0}, unknownIds{0}, shortFrames{0}, droppedFrames{0}, errorFrames{0};
        // Rate sampling, UI side only.
        mutable std::mutex rateMutex;
        mutable CANClock::TimePoint sampleTime{};
        mutable uint64_t sampleFrames = 0;
        mutable double rate = 0;
    };

    BusCounters& countersFor(int bus) const { return mBusCounters[size_t(bus + 1)]; }
    Message& messageOf(int signalId) const { return mMessages[mSlots[size_t(signalId)].message]; }
    // False for a frame shorter than its message.
    bool decodeMessage(Message& message, const CanFrame& frame);
    void decodeUnrouted(const CanFrame& frame);
    void storeShortFrame(Message& message, const CanFrame& frame, uint64_t version);

    const std::shared_ptr<const CANData> mCatalogue;
    CANClock& mClock;
    const CANIdTable mIds;
    std::unique_ptr<Slot[]> mSlots;  // by signal id
    std::unique_ptr<Message[]> mMessages;  // by catalogue-wide message index
    std::unique_ptr<std::atomic<uint64_t>[]> mFdWords;  // eight words for each CAN FD message
    int mBusCount = 0;
    std::unique_ptr<BusCounters[]> mBusCounters;  // [0] unrouted, then one per bus
};
