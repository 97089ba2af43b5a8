#pragma once

#include "OrvaneExport.h"

#include <cstdint>
#include <cstring>
#include <string>

// Where a signal lives in a frame and how its bits become a number. Plain C++ so the decoder
// and the parser fuzzers carry no Qt.
//
// Bit numbering follows the catalogue format: bit n is bit n%8 (0 = least significant) of
// byte n/8. An Intel signal starts at its least significant bit and grows upwards; a Motorola
// signal starts at its most significant bit and grows towards bit 0 of the same byte, then on
// to bit 7 of the next byte (the "sawtooth").
class ORVANE_EXPORT SignalLayout {
public:
    enum class ByteOrder : uint8_t { Intel, Motorola };
    enum class ValueType : uint8_t { Integer, Float32, Float64 };

    uint16_t startBit = 0;
    uint16_t length = 0;
    ByteOrder order = ByteOrder::Intel;
    bool isSigned = false;
    ValueType type = ValueType::Integer;

    // Validates the fields and precomputes the extraction; false (with a reason) when the
    // signal cannot lie inside a 64-byte frame.
    bool prepare(std::string* error);

    // Payload bytes a frame needs to carry the whole signal.
    unsigned bytesNeeded() const { return mBytesNeeded; }

    // The signal's bits, right-aligned. `data` must be readable up to CanFrame::BufferSize.
    uint64_t extract(const uint8_t* data) const
    {
        const uint64_t mask = length >= 64 ? ~uint64_t(0) : (uint64_t(1) << length) - 1;
        const uint8_t* p = data + mFirstByte;
        if (order == ByteOrder::Intel) {
            uint64_t w = loadLittle(p) >> mShift;
            if (mShift + length > 64)
                w |= uint64_t(p[8]) << (64 - mShift);
            return w & mask;
        }
        uint64_t w = loadBig(p);
        if (mShift < 64)
            w >>= 63 - mShift;
        else
            w = (w << (mShift - 63)) | (p[8] >> (71 - mShift));
        return w & mask;
    }

    // The extracted bits as a number before factor and offset: sign-extended integer or the
    // IEEE value.
    double toNumber(uint64_t bits) const
    {
        switch (type) {
        case ValueType::Float32: {
            float f;
            const uint32_t b = uint32_t(bits);
            std::memcpy(&f, &b, sizeof f);
            return f;
        }
        case ValueType::Float64: {
            double d;
            std::memcpy(&d, &bits, sizeof d);
            return d;
        }
        case ValueType::Integer:
            break;
        }
        return isSigned ? double(toSigned(bits)) : double(bits);
    }

    int64_t toSigned(uint64_t bits) const
    {
        if (!isSigned || length == 0 || length >= 64)
            return int64_t(bits);
        const unsigned unused = 64 - length;
        return int64_t(bits << unused) >> unused;
    }

    // Writes the low `length` bits of `bits` into the frame, leaving other bits alone.
    void insert(uint8_t* data, uint64_t bits) const;

    // Bit-by-bit extraction: slow and obviously right, the yardstick for extract().
    uint64_t extractSlowly(const uint8_t* data) const;

    // Largest and smallest raw integers the signal can hold.
    int64_t rawMinimum() const;
    uint64_t rawMaximum() const;

private:
    static uint64_t loadLittle(const uint8_t* p)
    {
        uint64_t v;
        std::memcpy(&v, p, sizeof v);
        return v;  // the decoder targets little-endian hosts
    }
    static uint64_t loadBig(const uint8_t* p) { return __builtin_bswap64(loadLittle(p)); }

    unsigned bitPosition(unsigned i) const;  // frame bit of the signal's bit i (0 = LSB)

    uint8_t mFirstByte = 0;
    uint8_t mShift = 0;  // Intel: bit offset in the first byte; Motorola: LSB offset from the first byte's MSB
    uint8_t mBytesNeeded = 0;
};
