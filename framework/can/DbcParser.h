#pragma once

#include "OrvaneExport.h"
#include "can/SignalLayout.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A catalogue file read into plain structures. Text fields keep the file's bytes (names are
// ASCII; units, labels and comments may be CP-1252 or UTF-8 - the catalogue converts them).

struct ValueLabel {
    int64_t value = 0;
    std::string label;
};

struct MuxRange {
    uint64_t low = 0;
    uint64_t high = 0;
};

struct ORVANE_EXPORT DbcSignal {
    std::string name;
    SignalLayout layout;
    double factor = 1;
    double offset = 0;
    double minimum = 0;
    double maximum = 0;
    std::string unit;
    std::string comment;
    std::vector<ValueLabel> labels;  // sorted by value, one label per value

    bool isMultiplexor = false;  // "M", or the "M" of "mNM"
    bool isMultiplexed = false;  // "mN" or "mNM"
    uint64_t muxValue = 0;       // the N of "mN"
    // Which signal of the message selects this one, and for which of its raw values; -1 for a
    // signal present in every frame. A switch may itself be selected by another (extended
    // multiplexing); chains never loop.
    int muxSwitch = -1;
    std::vector<MuxRange> muxRanges;
    int line = 0;

    // The label for a raw value, or null.
    const std::string* labelFor(int64_t raw) const;
};

struct DbcMessage {
    uint32_t id = 0;  // 11 or 29 bits
    bool extended = false;
    std::string name;
    unsigned dlc = 0;
    std::string transmitter;
    int cycleTimeMs = 0;  // 0 when the file gives none
    std::string comment;
    std::vector<DbcSignal> signalList;
    int line = 0;
};

struct DbcProblem {
    int line = 0;  // 0 for the file as a whole
    std::string text;
};

struct ORVANE_EXPORT DbcFile {
    std::vector<DbcMessage> messages;
    std::vector<std::pair<std::string, std::vector<ValueLabel>>> valueTables;
    std::vector<DbcProblem> problems;
    // Set when nothing could be read at all (binary data, say); messages is then empty.
    std::string fatalError;

    size_t signalCount() const;
};

// Reads a catalogue leniently: a bad line is reported with its number and skipped, the rest
// is kept. Never throws on any input.
ORVANE_EXPORT DbcFile parseDbc(std::string_view text);
