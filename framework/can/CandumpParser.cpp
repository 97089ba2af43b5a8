#include "can/CandumpParser.h"

#include <charconv>
#include <cmath>

namespace {

constexpr uint32_t ErrorFlag = 0x20000000u;

// Payload digits are random: a table costs no mispredicted branches.
struct HexDigits {
    int8_t value[256];
    constexpr HexDigits()
        : value()
    {
        for (int c = 0; c < 256; ++c)
            value[c] = c >= '0' && c <= '9' ? int8_t(c - '0')
                : c >= 'A' && c <= 'F'      ? int8_t(c - 'A' + 10)
                : c >= 'a' && c <= 'f'      ? int8_t(c - 'a' + 10)
                                            : int8_t(-1);
    }
};
constexpr HexDigits Hex;

int hexValue(char c)
{
    return Hex.value[uint8_t(c)];
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

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

bool parseHexId(std::string_view s, uint32_t& id)
{
    if (s.empty() || s.size() > 8)
        return false;
    uint32_t v = 0;
    for (char c : s) {
        const int h = hexValue(c);
        if (h < 0)
            return false;
        v = (v << 4) | uint32_t(h);
    }
    id = v;
    return true;
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

// "(seconds.fraction)" or "(YYYY-MM-DD hh:mm:ss.fraction)"; the text between the brackets.
// "seconds.fraction" as candump writes it, or nothing: the common form without the cost of a
// general number parse. Microseconds below 2^53 are exact, so one division rounds them just
// as from_chars does.
bool parsePlainSeconds(std::string_view s, double& t)
{
    uint64_t whole = 0, fraction = 0;
    size_t i = 0, digits = 0, fractionDigits = 0;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i, ++digits)
        whole = whole * 10 + uint64_t(s[i] - '0');
    if (digits == 0 || digits > 12 || i == s.size() || s[i] != '.')
        return false;
    for (++i; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i, ++fractionDigits)
        fraction = fraction * 10 + uint64_t(s[i] - '0');
    if (i != s.size() || fractionDigits == 0 || fractionDigits > 6)
        return false;
    static constexpr uint64_t Scale[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
    const uint64_t micros = whole * 1000000 + fraction * Scale[6 - fractionDigits];
    if (micros >= uint64_t(1) << 53)
        return false;
    t = double(micros) / 1e6;
    return true;
}

bool parseTime(std::string_view s, double& t)
{
    const char* b = s.data();
    const char* e = b + s.size();
    // Seconds from 1970 up to the end of year 9999, as in the date form: nothing else is a log's.
    constexpr double LastSecond = 253402300800.0;
    if (parsePlainSeconds(s, t))
        return t < LastSecond;
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

// Hex bytes, optionally separated by dots.
bool parseHexBytes(std::string_view s, CanFrame& f, unsigned maxLength)
{
    unsigned n = 0;
    size_t i = 0;
    while (i < s.size()) {
        if (s[i] == '.') {
            ++i;
            continue;
        }
        if (i + 1 >= s.size() || n >= maxLength)
            return false;
        const int hi = hexValue(s[i]), lo = hexValue(s[i + 1]);
        if (hi < 0 || lo < 0)
            return false;
        f.data[n++] = uint8_t(hi << 4 | lo);
        i += 2;
    }
    f.len = uint8_t(n);
    return true;
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

// "123#DEADBEEF", "123#R", "123#R4", "123#1122_9", "123##1AABB"
CandumpRecord::Kind parseLogFrame(std::string_view tok, size_t hash, CandumpRecord& out)
{
    using Kind = CandumpRecord::Kind;
    uint32_t rawId = 0;
    if (!parseHexId(tok.substr(0, hash), rawId))
        return out.kind = Kind::Malformed;
    std::string_view rest = tok.substr(hash + 1);
    CanFrame& f = out.frame;
    if (!rest.empty() && rest[0] == '#') {
        if (rest.size() < 2 || hexValue(rest[1]) < 0)
            return out.kind = Kind::Malformed;
        f.flags |= CanFrame::Fd;
        if (hexValue(rest[1]) & 1)
            f.flags |= CanFrame::BitRateSwitch;
        if (hexValue(rest[1]) & 2)
            f.flags |= CanFrame::ErrorState;
        if (!parseHexBytes(rest.substr(2), f, CanFrame::MaxLength) || !isValidFdLength(f.len))
            return out.kind = Kind::Malformed;
        return classify(out, rawId, hash);
    }
    if (!rest.empty() && (rest[0] == 'R' || rest[0] == 'r')) {
        f.flags |= CanFrame::Remote;
        f.len = 0;
        if (rest.size() > 1) {
            const int len = hexValue(rest[1]);
            if (rest.size() > 2 || len < 0 || len > 8)
                return out.kind = Kind::Malformed;
            f.len = uint8_t(len);
        }
        return classify(out, rawId, hash);
    }
    // A trailing "_<dlc>" carries the raw DLC of an 8-byte frame; the payload is what counts.
    const size_t underscore = rest.find('_');
    if (underscore != std::string_view::npos) {
        if (rest.size() != underscore + 2 || hexValue(rest[underscore + 1]) < 0)
            return out.kind = Kind::Malformed;
        rest = rest.substr(0, underscore);
    }
    if (!parseHexBytes(rest, f, 8))
        return out.kind = Kind::Malformed;
    return classify(out, rawId, hash);
}

// "123" "[4]" "DE" "AD" "BE" "EF"  or  "123" "[2]" "remote" "request"
CandumpRecord::Kind parseScreenFrame(std::string_view idTok, Scanner& s, CandumpRecord& out)
{
    using Kind = CandumpRecord::Kind;
    uint32_t rawId = 0;
    if (!parseHexId(idTok, rawId))
        return out.kind = Kind::Malformed;
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
        return classify(out, rawId, idTok.size());
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
    return classify(out, rawId, idTok.size());
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
        const char* close = s.p + 1;
        while (close < s.e && *close != ')')
            ++close;
        if (close >= s.e || !parseTime(std::string_view(s.p + 1, size_t(close - s.p - 1)), out.time))
            return out.kind = Kind::Malformed;
        out.hasTime = true;
        s.p = close + 1;
    }
    out.iface = s.token();
    const std::string_view frameTok = s.token();
    if (out.iface.empty() || frameTok.empty())
        return out.kind = Kind::Malformed;
    const size_t hash = frameTok.find('#');
    Kind kind;
    if (hash != std::string_view::npos) {
        kind = parseLogFrame(frameTok, hash, out);
        // The log form may carry a direction flag ("R"/"T") after the frame; nothing else.
        const std::string_view extra = s.token();
        if (kind != Kind::Malformed && !extra.empty() && extra != "R" && extra != "T")
            kind = out.kind = Kind::Malformed;
    } else {
        kind = parseScreenFrame(frameTok, s, out);
    }
    return kind;
}
