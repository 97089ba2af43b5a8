#pragma once

#include "OrvaneExport.h"

#include <QString>

#include <atomic>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class CANData;
class CANDecoder;

// Which bus the frames of a named interface belong to: an explicit mapping first, then the
// bus of the same name, then the only bus; otherwise the decoder routes each frame to the
// first bus that knows its id. Built for one catalogue before a source runs on it, read-only
// afterwards.
class ORVANE_EXPORT CANInterfaceRoutes {
public:
    CANInterfaceRoutes() = default;
    explicit CANInterfaceRoutes(const CANData& catalogue);
    // False when the bus is not in the catalogue.
    bool map(const QString& iface, const QString& bus);
    int busFor(std::string_view iface) const;

private:
    std::vector<std::pair<std::string, int>> mExplicit;
    std::vector<std::string> mBusNames;
};

// Where frames come from. run() executes on a worker thread of its own and feeds the
// decoder until the input ends or `stop` is set; failures are logged there. A source holds no
// catalogue: each run decodes into the decoder's, with routes made for that catalogue, so
// the source can run again on another.
class ORVANE_EXPORT CANFrameSource {
public:
    enum class Outcome { Finished, Stopped, Failed };
    virtual ~CANFrameSource();
    virtual QString description() const = 0;
    virtual Outcome run(CANDecoder& decoder, const CANInterfaceRoutes& routes, const std::atomic<bool>& stop) = 0;
    // Whether a failed run is worth trying again later (an interface that may come up).
    virtual bool retryAfterFailure() const { return false; }
};
