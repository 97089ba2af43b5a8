#include "can/CANIdTable.h"

#include "can/CANData.h"

CANIdTable::CANIdTable(const CANData& catalogue)
{
    for (int b = 0; b < catalogue.busCount(); ++b) {
        const CANBusNode* bus = catalogue.busAt(b);
        uint32_t bits = 1;
        while ((1u << bits) < 2u * uint32_t(bus->messageCount()))
            ++bits;
        const Stretch s{uint32_t(mEntries.size()), (1u << bits) - 1, 32 - bits};
        mStretches.push_back(s);
        mEntries.resize(mEntries.size() + (size_t(1) << bits));
        for (int m = 0; m < bus->messageCount(); ++m) {
            const CANMessageNode* message = bus->messageAt(m);
            // The bus decides which of two messages sharing an id a frame carries.
            const int carried = bus->messageIndexForFrame(message->frameId(), message->isExtended());
            if (carried != m)
                continue;
            const uint32_t key = message->frameId() | (message->isExtended() ? ExtendedKey : 0);
            uint32_t i = slotOf(key, s.shift);
            while (mEntries[s.first + i].key != EmptyKey)
                i = (i + 1) & s.mask;
            mEntries[s.first + i] = Entry{key, uint32_t(message->globalIndex())};
        }
    }
}
