#pragma once

#include "OrvaneExport.h"
#include "can/CanFrame.h"

#include <string_view>

// One line of a candump text log. Two forms are read:
//   log form:    (1436509052.249713) can0 123#DEADBEEF     (also ##<flags> for CAN FD, #R remote)
//   screen form: (1436509052.249713)  can0  123   [4]  DE AD BE EF   (time optional)
// Plain C++; parses in place without allocating.
struct CandumpRecord {
    enum class Kind {
        Frame,
        ErrorFrame,  // the controller's error report, not traffic
        Blank,       // empty or a comment
        Malformed,
    };
    Kind kind = Kind::Blank;
    bool hasTime = false;
    double time = 0;        // seconds
    std::string_view iface;  // points into the parsed line
    CanFrame frame;
};

ORVANE_EXPORT CandumpRecord::Kind parseCandumpLine(std::string_view line, CandumpRecord& out);
