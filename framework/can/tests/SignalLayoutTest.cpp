#include "can/CanFrame.h"
#include "can/SignalLayout.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Order = SignalLayout::ByteOrder;
using Type = SignalLayout::ValueType;

struct DecodeCase {
    const char* what;
    unsigned start, length;
    Order order;
    bool isSigned;
    Type type;
    double factor, offset;
    std::vector<std::pair<int, uint8_t>> bytes;  // frame byte index, value; others zero
    uint64_t raw;
    double physical;
};

SignalLayout layoutOf(const DecodeCase& c)
{
    SignalLayout l;
    l.startBit = uint16_t(c.start);
    l.length = uint16_t(c.length);
    l.order = c.order;
    l.isSigned = c.isSigned;
    l.type = c.type;
    return l;
}

// Expectations worked out by hand from the bit numbering, not from the code.
const DecodeCase decodeCases[] = {
    {"intel 16 bits, factor", 0, 16, Order::Intel, false, Type::Integer, 0.01, 0, {{0, 0x10}, {1, 0x27}}, 0x2710, 100.0},
    {"intel across a byte boundary", 4, 8, Order::Intel, false, Type::Integer, 1, 0, {{0, 0xAB}, {1, 0xCD}}, 0xDA, 218},
    {"intel single bit", 13, 1, Order::Intel, false, Type::Integer, 1, 0, {{1, 0x20}}, 1, 1},
    {"motorola 16 bits", 7, 16, Order::Motorola, false, Type::Integer, 1, 0, {{0, 0x12}, {1, 0x34}}, 0x1234, 4660},
    {"motorola nibble across bytes", 3, 8, Order::Motorola, false, Type::Integer, 1, 0, {{0, 0xAB}, {1, 0xCD}}, 0xBC, 188},
    {"motorola 12 bits from mid byte", 11, 12, Order::Motorola, false, Type::Integer, 1, 0, {{1, 0x0F}, {2, 0xED}}, 0xFED, 4077},
    {"motorola 24 bits", 47, 24, Order::Motorola, false, Type::Integer, 0.1, 0, {{5, 0x01}, {6, 0xE2}, {7, 0x40}}, 0x01E240, 12345.6},
    {"intel signed, factor and offset", 8, 8, Order::Intel, true, Type::Integer, 0.5, 10, {{1, 0xFE}}, 0xFE, 9},
    {"motorola signed 16", 39, 16, Order::Motorola, true, Type::Integer, 0.5, 0, {{4, 0xFF}, {5, 0x92}}, 0xFF92, -55},
    {"intel signed positive", 0, 12, Order::Intel, true, Type::Integer, 1, 0, {{0, 0xFF}, {1, 0x07}}, 0x7FF, 2047},
    {"intel signed minimum", 0, 12, Order::Intel, true, Type::Integer, 1, 0, {{1, 0x08}}, 0x800, -2048},
    {"offset only", 0, 8, Order::Intel, false, Type::Integer, 1, -40, {{0, 0x82}}, 0x82, 90},
    {"intel float", 0, 32, Order::Intel, false, Type::Float32, 1, 0, {{2, 0x48}, {3, 0x41}}, 0x41480000, 12.5},
    {"motorola float", 7, 32, Order::Motorola, false, Type::Float32, 2, 1, {{0, 0x41}, {1, 0x48}}, 0x41480000, 26},
    {"intel double", 0, 64, Order::Intel, false, Type::Float64, 1, 0, {{6, 0xF8}, {7, 0x3F}}, 0x3FF8000000000000ull, 1.5},
    {"intel double negative", 64, 64, Order::Intel, false, Type::Float64, 1, 0, {{14, 0x04}, {15, 0xC0}}, 0xC004000000000000ull, -2.5},
    {"intel 64 bits over nine bytes", 4, 64, Order::Intel, false, Type::Integer, 1, 0, {{0, 0xF0}, {8, 0x0A}}, 0xA00000000000000Full, double(0xA00000000000000Full)},
    {"motorola 64 bits over nine bytes", 3, 64, Order::Motorola, false, Type::Integer, 1, 0, {{0, 0x0A}, {8, 0xF0}}, 0xA00000000000000Full, double(0xA00000000000000Full)},
    {"intel signed 64", 0, 64, Order::Intel, true, Type::Integer, 1, 0, {{0, 0xFE}, {1, 0xFF}, {2, 0xFF}, {3, 0xFF}, {4, 0xFF}, {5, 0xFF}, {6, 0xFF}, {7, 0xFF}}, 0xFFFFFFFFFFFFFFFEull, -2},
    {"CAN FD, end of a 64-byte frame", 496, 16, Order::Intel, false, Type::Integer, 1, 0, {{62, 0x34}, {63, 0x12}}, 0x1234, 4660},
    {"CAN FD motorola at the end", 503, 16, Order::Motorola, false, Type::Integer, 1, 0, {{62, 0x12}, {63, 0x34}}, 0x1234, 4660},
};

TEST(SignalLayout, DecodesHandComputedValues)
{
    for (const DecodeCase& c : decodeCases) {
        SCOPED_TRACE(c.what);
        SignalLayout l = layoutOf(c);
        std::string error;
        ASSERT_TRUE(l.prepare(&error)) << error;
        CanFrame f;
        f.clearData();
        for (auto [i, v] : c.bytes)
            f.data[i] = v;
        // Neighbouring bits set to one must not leak in: fill every bit outside the signal.
        CanFrame noisy = f;
        std::memset(noisy.data, 0xFF, CanFrame::MaxLength);
        l.insert(noisy.data, c.raw);

        for (const CanFrame* frame : {&f, &noisy}) {
            const uint64_t bits = l.extract(frame->data);
            EXPECT_EQ(bits, c.raw);
            EXPECT_DOUBLE_EQ(l.toNumber(bits) * c.factor + c.offset, c.physical);
        }
        // Writing the value into an empty frame sets exactly the signal's bits.
        CanFrame written;
        written.clearData();
        l.insert(written.data, c.raw);
        EXPECT_EQ(l.extract(written.data), c.raw);
        int ones = 0;
        for (int i = 0; i < CanFrame::MaxLength; ++i)
            ones += __builtin_popcount(written.data[i]);
        EXPECT_EQ(ones, __builtin_popcountll(c.raw));
    }
}

// Every position and length in both byte orders agrees with the bit-by-bit reading.
TEST(SignalLayout, FastExtractionMatchesBitByBitEverywhere)
{
    std::mt19937_64 random(7);
    CanFrame f;
    for (int i = 0; i < CanFrame::BufferSize; ++i)
        f.data[i] = uint8_t(random());
    int checked = 0;
    for (Order order : {Order::Intel, Order::Motorola}) {
        for (unsigned length = 1; length <= 64; ++length) {
            for (unsigned start = 0; start < 512; ++start) {
                SignalLayout l;
                l.startBit = uint16_t(start);
                l.length = uint16_t(length);
                l.order = order;
                if (!l.prepare(nullptr))
                    continue;
                ASSERT_EQ(l.extract(f.data), l.extractSlowly(f.data))
                    << (order == Order::Intel ? "intel" : "motorola") << " start " << start << " length " << length;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 50000);
}

TEST(SignalLayout, RejectsWhatCannotFitOrIsInconsistent)
{
    struct Bad {
        unsigned start, length;
        Order order;
        Type type;
    } bad[] = {
        {0, 0, Order::Intel, Type::Integer},
        {0, 65, Order::Intel, Type::Integer},
        {500, 16, Order::Intel, Type::Integer},    // runs past byte 63
        {512, 1, Order::Intel, Type::Integer},
        {7, 16, Order::Motorola, Type::Float32},    // a float needs 32 bits
        {0, 32, Order::Intel, Type::Float64},
        {505, 16, Order::Motorola, Type::Integer},  // byte 63 then past the end
    };
    for (const Bad& b : bad) {
        SignalLayout l;
        l.startBit = uint16_t(b.start);
        l.length = uint16_t(b.length);
        l.order = b.order;
        l.type = b.type;
        std::string error;
        EXPECT_FALSE(l.prepare(&error)) << b.start << "|" << b.length;
        EXPECT_FALSE(error.empty());
    }
}

TEST(SignalLayout, BytesNeededFollowsTheByteOrder)
{
    SignalLayout intel;
    intel.startBit = 12;
    intel.length = 12;  // bits 12..23: bytes 1 and 2
    ASSERT_TRUE(intel.prepare(nullptr));
    EXPECT_EQ(intel.bytesNeeded(), 3u);
    SignalLayout motorola;
    motorola.startBit = 12;
    motorola.length = 12;  // byte 1 bits 4..0, then byte 2 bits 7..1
    motorola.order = Order::Motorola;
    ASSERT_TRUE(motorola.prepare(nullptr));
    EXPECT_EQ(motorola.bytesNeeded(), 3u);
    motorola.length = 14;  // one bit into byte 3
    ASSERT_TRUE(motorola.prepare(nullptr));
    EXPECT_EQ(motorola.bytesNeeded(), 4u);
}

} // namespace
