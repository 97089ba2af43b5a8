#pragma once

#include <cstdint>
#include <cstring>

// One CAN or CAN FD frame as every source hands it to the decoder. Plain data, no Qt.
struct CanFrame {
    enum Flag : uint8_t {
        Extended = 1,  // 29-bit identifier
        Fd = 2,        // CAN FD frame (up to 64 bytes)
        Remote = 4,    // remote request: no payload
        BitRateSwitch = 8,
        ErrorState = 16,
        ErrorReport = 32,  // the controller's error report, not traffic: counted, not decoded
    };
    static constexpr int MaxLength = 64;
    // Decoders read whole 64-bit words and one byte past them, so the buffer has slack
    // beyond the largest payload; bytes past len carry no meaning.
    static constexpr int BufferSize = MaxLength + 9;

    uint32_t id = 0;  // 11 or 29 bits, without flags
    uint8_t len = 0;  // payload bytes
    uint8_t flags = 0;
    uint8_t data[BufferSize];

    bool isExtended() const { return flags & Extended; }
    bool isFd() const { return flags & Fd; }
    bool isRemote() const { return flags & Remote; }
    void clearData() { std::memset(data, 0, sizeof data); }
};

// True for the payload lengths a CAN FD frame can carry.
inline bool isValidFdLength(unsigned len)
{
    return len <= 8 || len == 12 || len == 16 || len == 20 || len == 24 || len == 32 || len == 48
        || len == 64;
}
