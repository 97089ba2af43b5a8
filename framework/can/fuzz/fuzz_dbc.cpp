// Any bytes given as a catalogue: the parser must neither crash nor loop, and every signal it
// accepts must decode in bounds and agree with the bit-by-bit reading.
#include "can/CanFrame.h"
#include "can/DbcParser.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const DbcFile file = parseDbc(std::string_view(reinterpret_cast<const char*>(data), size));
    CanFrame frame;
    frame.clearData();
    std::memcpy(frame.data, data, size < sizeof frame.data ? size : sizeof frame.data);
    for (const DbcMessage& m : file.messages) {
        for (const DbcSignal& s : m.signalList) {
            if (s.layout.bytesNeeded() > CanFrame::MaxLength)
                std::abort();
            const uint64_t bits = s.layout.extract(frame.data);
            if (bits != s.layout.extractSlowly(frame.data))
                std::abort();
            (void)s.layout.toNumber(bits);
            (void)s.labelFor(s.layout.toSigned(bits));
            if (s.muxSwitch >= int(m.signalList.size()))
                std::abort();
        }
    }
    return 0;
}
