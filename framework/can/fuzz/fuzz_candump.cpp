// Any bytes given as a candump log: every line is read in place, and what is taken as a frame
// is a frame CAN could carry.
#include "can/CandumpParser.h"

#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(data), size);
    CandumpRecord record;
    while (!text.empty()) {
        const size_t nl = text.find('\n');
        const std::string_view line = text.substr(0, nl);
        if (parseCandumpLine(line, record) == CandumpRecord::Kind::Frame) {
            const CanFrame& f = record.frame;
            if (f.len > CanFrame::MaxLength || (!f.isFd() && f.len > 8) || !isValidFdLength(f.len))
                std::abort();
            if (f.id > (f.isExtended() ? 0x1FFFFFFFu : 0x7FFu))
                std::abort();
            if (record.iface.data() < line.data() || record.iface.data() + record.iface.size() > line.data() + line.size())
                std::abort();
        }
        text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
    }
    return 0;
}
