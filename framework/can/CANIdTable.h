#pragma once

#include "OrvaneExport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class CANData;

// Which message a frame carries, on every bus of a catalogue, from one flat array: each bus
// owns a power-of-two stretch of it, at most half full and probed linearly, so a lookup
// mostly reads one cache line. The decoder asks once per frame, with the catalogue long gone
// from the cache.
class ORVANE_EXPORT CANIdTable {
public:
    explicit CANIdTable(const CANData& catalogue);

    // The message's catalogue-wide index, or -1. `bus` must be one of the catalogue's.
    int messageFor(int bus, uint32_t id, bool extended) const
    {
        const Stretch& s = mStretches[size_t(bus)];
        const uint32_t key = id | (extended ? ExtendedKey : 0);
        for (uint32_t i = slotOf(key, s.shift);; i = (i + 1) & s.mask) {
            const Entry& e = mEntries[s.first + i];
            if (e.key == EmptyKey)
                return -1;
            if (e.key == key)
                return int(e.message);
        }
    }

private:
    static constexpr uint32_t ExtendedKey = 0x80000000u;
    static constexpr uint32_t EmptyKey = 0xFFFFFFFFu;  // no 29-bit id reaches it
    struct Entry {
        uint32_t key = EmptyKey;
        uint32_t message = 0;
    };
    struct Stretch {
        uint32_t first = 0;
        uint32_t mask = 0;
        uint32_t shift = 0;
    };
    // Fibonacci hashing: ids of one bus are often consecutive, its top bits spread them.
    static uint32_t slotOf(uint32_t key, uint32_t shift) { return uint32_t(key * 0x9E3779B9u) >> shift; }

    std::vector<Entry> mEntries;
    std::vector<Stretch> mStretches;
};
