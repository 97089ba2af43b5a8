#include "can/CandumpParser.h"

#include <charconv>
#include <cmath>
#include <cstddef>

namespace {

constexpr uint32_t ErrorFlag = 0x20000000u;

// Payload digits are random and separators few: tables cost no mispredicted branches.
struct CharTable {
    int8_t hex[256];
    bool blank[256];
    constexpr CharTable()
        : hex()
        , blank()
    {
        for (int c = 0; c < 256; ++c) {
            hex[c] = c >= '0' && c <= '9' ? int8_t(c - '0')
                : c >= 'A' && c <= 'F'    ? int8_t(c - 'A' + 10)
                : c >= 'a' && c <= 'f'    ? int8_t(c - 'a' + 10)
                                          : int8_t(-1);
            blank[c] = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        }
    }
};
constexpr CharTable Chars;

int hexValue(char c)
{
    return Chars.hex[uint8_t(c)];
}

bool isBlank(char c) { return Chars.blank[uint8_t(c)]; }

struct Scanner {
    const char* p;
    const char* e;

    void skipBlanks()
    {
        while (p < e && isBlank(*p))
            ++p;
    }
    std::string_view token()
    {
        skipBlanks();
        const char* s = p;
        while (p < e && !isBlank(*p))
            ++p;
        return std::string_view(s, size_t(p - s));
    }
};

bool atTokenEnd(const char* p, const char* e) { return p == e || isBlank(*p); }

// An identifier's hex digits from `p`: where they end, with their value and how many.
const char* scanHexId(const char* p, const char* e, uint32_t& id, size_t& digits)
{
    const char* const start = p;
    uint32_t v = 0;
    for (; p < e && hexValue(*p) >= 0; ++p)
        v = (v << 4) | uint32_t(hexValue(*p));
    id = v;
    digits = size_t(p - start);
    return p;
}

// Days since 1970-01-01 of a civil date (proleptic Gregorian).
long daysFromCivil(long y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = unsigned(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + long(doe) - 719468;
}

// Seconds from 1970 up to the end of year 9999, as in the date form: nothing else is a log's.
constexpr double LastSecond = 253402300800.0;

// "seconds.fraction)" as candump writes it, read in one pass: the closing bracket, or null for
// any other text. Microseconds below 2^53 are exact, so one division rounds them just as
// from_chars does.
const char* parsePlainSeconds(const char* p, const char* e, double& t)
{
    uint64_t whole = 0, fraction = 0;
    const char* const start = p;
    for (; p < e && unsigned(*p - '0') < 10; ++p)
        whole = whole * 10 + uint64_t(*p - '0');
    const ptrdiff_t digits = p - start;
    if (digits == 0 || digits > 12 || p == e || *p != '.')
        return nullptr;
    const char* const point = ++p;
    for (; p < e && unsigned(*p - '0') < 10; ++p)
        fraction = fraction * 10 + uint64_t(*p - '0');
    const ptrdiff_t fractionDigits = p - point;
    if (p == e || *p != ')' || fractionDigits == 0 || fractionDigits > 6)
        return nullptr;
    static constexpr uint64_t Scale[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
    const uint64_t micros = whole * 1000000 + fraction * Scale[6 - fractionDigits];
    if (micros >= uint64_t(1) << 53)
        return nullptr;
    t = double(micros) / 1e6;
    return t < LastSecond ? p : nullptr;
}

// The text between the brackets in any other form: "(seconds)" however written, or
// "(YYYY-MM-DD hh:mm:ss.fraction)".
bool parseTime(std::string_view s, double& t)
{
    const char* b = s.data();
    const char* e = b + s.size();
    auto r = std::from_chars(b, e, t);
    if (r.ec == std::errc() && r.ptr == e)
        return t >= 0 && t < LastSecond;
    long year = 0;
    unsigned mon = 0, day = 0, hh = 0, mm = 0;
    double ss = 0;
    auto num = [&](const char*& p, auto& out, char sep) {
        auto res = std::from_chars(p, e, out);
        if (res.ec != std::errc() || (sep && (res.ptr >= e || *res.ptr != sep)))
            return false;
        p = res.ptr + (sep ? 1 : 0);
        return true;
    };
    const char* p = b;
    if (!num(p, year, '-') || !num(p, mon, '-') || !num(p, day, ' ') || !num(p, hh, ':') || !num(p, mm, ':'))
        return false;
    r = std::from_chars(p, e, ss);
    // Years outside 0..9999 are no log's and would overflow the day count.
    if (r.ec != std::errc() || r.ptr != e || year < 0 || year > 9999 || mon < 1 || mon > 12 || day < 1 || day > 31 || hh > 23 || mm > 59
        || !(ss >= 0 && ss < 61))
        return false;
    t = double(daysFromCivil(year, mon, day)) * 86400.0 + hh * 3600.0 + mm * 60.0 + ss;
    return true;
}

// Hex bytes, optionally separated by dots, up to the first character that is neither: where
// they end, or null for half a byte or a byte too many.
const char* parseHexBytes(const char* p, const char* e, CanFrame& f, unsigned maxLength)
{
    unsigned n = 0;
    for (;;) {
        for (; e - p >= 2 && n < maxLength; p += 2) {
            const int hi = hexValue(p[0]), lo = hexValue(p[1]);
            if ((hi | lo) < 0)
                break;
            f.data[n++] = uint8_t(hi << 4 | lo);
        }
        if (p == e || *p != '.')
            break;
        ++p;
    }
    if (p < e && hexValue(*p) >= 0)
        return nullptr;
    f.len = uint8_t(n);
    return p;
}

CandumpRecord::Kind classify(CandumpRecord& out, uint32_t rawId, size_t idDigits)
{
    if (idDigits > 3) {
        if (rawId & ErrorFlag)
            return out.kind = CandumpRecord::Kind::ErrorFrame;
        if (rawId > 0x1FFFFFFFu)
            return out.kind = CandumpRecord::Kind::Malformed;
        out.frame.flags |= CanFrame::Extended;
    } else if (rawId > 0x7FFu) {
        return out.kind = CandumpRecord::Kind::Malformed;
    }
    out.frame.id = rawId;
    return out.kind = CandumpRecord::Kind::Frame;
}

// What follows "123#": "DEADBEEF", "R", "R4", "1122_9", "#1AABB". Leaves the scanner after it.
CandumpRecord::Kind parseLogFrame(Scanner& s, uint32_t rawId, size_t idDigits, CandumpRecord& out)
{
    using Kind = CandumpRecord::Kind;
    const char* p = s.p;
    const char* const e = s.e;
    CanFrame& f = out.frame;
    if (p < e && *p == '#') {
        if (e - p < 2 || hexValue(p[1]) < 0)
            return out.kind = Kind::Malformed;
        f.flags |= CanFrame::Fd;
        if (hexValue(p[1]) & 1)
            f.flags |= CanFrame::BitRateSwitch;
        if (hexValue(p[1]) & 2)
            f.flags |= CanFrame::ErrorState;
        p = parseHexBytes(p + 2, e, f, CanFrame::MaxLength);
        if (p && !isValidFdLength(f.len))
            p = nullptr;
    } else if (p < e && (*p == 'R' || *p == 'r')) {
        f.flags |= CanFrame::Remote;
        f.len = 0;
        if (!atTokenEnd(++p, e)) {
            const int len = hexValue(*p++);
            if (len < 0 || len > 8)
                return out.kind = Kind::Malformed;
            f.len = uint8_t(len);
        }
    } else {
        p = parseHexBytes(p, e, f, 8);
        // A trailing "_<dlc>" carries the raw DLC of an 8-byte frame; the payload is what counts.
        if (p && p < e && *p == '_')
            p = e - p >= 2 && hexValue(p[1]) >= 0 ? p + 2 : nullptr;
    }
    if (!p || !atTokenEnd(p, e))
        return out.kind = Kind::Malformed;
    s.p = p;
    return classify(out, rawId, idDigits);
}

// "123" "[4]" "DE" "AD" "BE" "EF"  or  "123" "[2]" "remote" "request"
CandumpRecord::Kind parseScreenFrame(Scanner& s, uint32_t rawId, size_t idDigits, CandumpRecord& out)
{
    using Kind = CandumpRecord::Kind;
    const std::string_view lenTok = s.token();
    if (lenTok.size() < 3 || lenTok.front() != '[' || lenTok.back() != ']')
        return out.kind = Kind::Malformed;
    unsigned len = 0;
    const auto r = std::from_chars(lenTok.data() + 1, lenTok.data() + lenTok.size() - 1, len);
    if (r.ec != std::errc() || r.ptr != lenTok.data() + lenTok.size() - 1 || !isValidFdLength(len))
        return out.kind = Kind::Malformed;
    CanFrame& f = out.frame;
    if (len > 8)
        f.flags |= CanFrame::Fd;
    const std::string_view first = s.token();
    if (first == "remote") {
        if (s.token() != "request" || len > 8)
            return out.kind = Kind::Malformed;
        f.flags |= CanFrame::Remote;
        f.len = uint8_t(len);
        return classify(out, rawId, idDigits);
    }
    std::string_view byteTok = first;
    for (unsigned i = 0; i < len; ++i) {
        if (i > 0)
            byteTok = s.token();
        if (byteTok.size() != 2 || hexValue(byteTok[0]) < 0 || hexValue(byteTok[1]) < 0)
            return out.kind = Kind::Malformed;
        f.data[i] = uint8_t(hexValue(byteTok[0]) << 4 | hexValue(byteTok[1]));
    }
    f.len = uint8_t(len);
    // Anything after the bytes (the ASCII column of "-a") is decoration.
    if (len == 0 && !first.empty() && first.front() != '\'')
        return out.kind = Kind::Malformed;
    return classify(out, rawId, idDigits);
}

} // namespace

CandumpRecord::Kind parseCandumpLine(std::string_view line, CandumpRecord& out)
{
    using Kind = CandumpRecord::Kind;
    out.hasTime = false;
    out.time = 0;
    out.iface = std::string_view();
    out.frame.id = 0;
    out.frame.len = 0;
    out.frame.flags = 0;

    Scanner s{line.data(), line.data() + line.size()};
    s.skipBlanks();
    if (s.p >= s.e || *s.p == '#' || (s.e - s.p >= 2 && s.p[0] == '/' && s.p[1] == '/'))
        return out.kind = Kind::Blank;

    if (*s.p == '(') {
        const char* close = parsePlainSeconds(s.p + 1, s.e, out.time);
        if (!close) {
            close = s.p + 1;
            while (close < s.e && *close != ')')
                ++close;
            if (close >= s.e || !parseTime(std::string_view(s.p + 1, size_t(close - s.p - 1)), out.time))
                return out.kind = Kind::Malformed;
        }
        out.hasTime = true;
        s.p = close + 1;
    }
    out.iface = s.token();
    if (out.iface.empty())
        return out.kind = Kind::Malformed;
    s.skipBlanks();
    uint32_t rawId = 0;
    size_t idDigits = 0;
    s.p = scanHexId(s.p, s.e, rawId, idDigits);
    if (idDigits == 0 || idDigits > 8)
        return out.kind = Kind::Malformed;
    if (s.p < s.e && *s.p == '#') {
        ++s.p;
        const Kind kind = parseLogFrame(s, rawId, idDigits, out);
        // The log form may carry a direction flag ("R"/"T") after the frame; nothing else.
        const std::string_view extra = s.token();
        if (kind != Kind::Malformed && !extra.empty() && extra != "R" && extra != "T")
            return out.kind = Kind::Malformed;
        return kind;
    }
    if (!atTokenEnd(s.p, s.e))
        return out.kind = Kind::Malformed;
    return parseScreenFrame(s, rawId, idDigits, out);
}
