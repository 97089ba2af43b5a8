#pragma once

#include "OrvaneExport.h"
#include "can/CANFrameSource.h"
#include "can/CANPacer.h"

#include <atomic>
#include <cstdint>

// Replays a candump text log. Speed 1 keeps the log's own timing from the run's start on (the
// first frame is due at once), 10 runs ten times faster, 0 as fast as the decoder goes. Lines
// without a time stamp follow their predecessor at once.
// Paced, the pacer's thread reads, parses and decodes each frame as it falls due, a batch a
// tick, while the run's thread only waits; unpaced, the run's thread does it all at once.
// Looping starts over after the last frame, one mean frame gap later, with time running on.
// The log may be a pipe another program writes as it goes: it is read until that program
// closes it, and not looped.
class ORVANE_EXPORT CandumpReplay : public CANFrameSource {
public:
    struct Statistics {
        uint64_t frames = 0;
        uint64_t malformedLines = 0;
        uint64_t errorFrames = 0;
        uint64_t passes = 0;  // completed runs through the file
    };

    CandumpReplay(const QString& path, double speed, bool loop, CANPacer& pacer = CANPacer::shared());

    QString description() const override;
    Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) override;
    Statistics statistics() const;

private:
    class Cursor;

    QString mPath;
    double mSpeed;
    bool mLoop;
    CANPacer& mPacer;
    std::atomic<uint64_t> mFrames{0}, mMalformed{0}, mErrorFrames{0}, mPasses{0};
};
