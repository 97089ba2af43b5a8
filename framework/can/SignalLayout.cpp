#include "can/SignalLayout.h"

#include "can/CanFrame.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the decoder loads little-endian words");

bool SignalLayout::prepare(std::string* error)
{
    auto fail = [error](const std::string& why) {
        if (error)
            *error = why;
        return false;
    };
    if (length < 1 || length > 64)
        return fail("length " + std::to_string(length) + " is not within 1..64");
    if (type == ValueType::Float32 && length != 32)
        return fail("a 32-bit float needs 32 bits, not " + std::to_string(length));
    if (type == ValueType::Float64 && length != 64)
        return fail("a double needs 64 bits, not " + std::to_string(length));
    const unsigned frameBits = CanFrame::MaxLength * 8;
    if (startBit >= frameBits)
        return fail("start bit " + std::to_string(startBit) + " lies beyond 64 bytes");
    if (order == ByteOrder::Intel) {
        const unsigned last = unsigned(startBit) + length - 1;
        if (last >= frameBits)
            return fail("signal runs past the end of a 64-byte frame");
        mFirstByte = uint8_t(startBit / 8);
        mShift = uint8_t(startBit % 8);
        mBytesNeeded = uint8_t(last / 8 + 1);
    } else {
        const unsigned msb = (startBit / 8u) * 8u + (7u - startBit % 8u);
        const unsigned lsb = msb + length - 1;
        if (lsb >= frameBits)
            return fail("signal runs past the end of a 64-byte frame");
        mFirstByte = uint8_t(msb / 8);
        mShift = uint8_t(lsb - mFirstByte * 8u);
        mBytesNeeded = uint8_t(lsb / 8 + 1);
    }
    return true;
}

unsigned SignalLayout::bitPosition(unsigned i) const
{
    if (order == ByteOrder::Intel)
        return startBit + i;
    const unsigned msb = (startBit / 8u) * 8u + (7u - startBit % 8u);
    const unsigned linear = msb + length - 1 - i;  // big-endian running position
    return (linear / 8u) * 8u + (7u - linear % 8u);
}

void SignalLayout::insert(uint8_t* data, uint64_t bits) const
{
    for (unsigned i = 0; i < length; ++i) {
        const unsigned pos = bitPosition(i);
        const uint8_t bit = uint8_t(1u << (pos % 8));
        if ((bits >> i) & 1)
            data[pos / 8] |= bit;
        else
            data[pos / 8] &= uint8_t(~bit);
    }
}

uint64_t SignalLayout::extractSlowly(const uint8_t* data) const
{
    uint64_t v = 0;
    for (unsigned i = 0; i < length; ++i) {
        const unsigned pos = bitPosition(i);
        if (data[pos / 8] & (1u << (pos % 8)))
            v |= uint64_t(1) << i;
    }
    return v;
}

int64_t SignalLayout::rawMinimum() const
{
    if (!isSigned || length == 0)
        return 0;
    if (length >= 64)
        return INT64_MIN;
    return -(int64_t(1) << (length - 1));
}

uint64_t SignalLayout::rawMaximum() const
{
    if (length == 0)
        return 0;
    if (isSigned)
        return length >= 64 ? uint64_t(INT64_MAX) : (uint64_t(1) << (length - 1)) - 1;
    return length >= 64 ? ~uint64_t(0) : (uint64_t(1) << length) - 1;
}
