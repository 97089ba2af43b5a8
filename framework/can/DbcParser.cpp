#include "can/DbcParser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <unordered_map>

namespace {

constexpr const char* IndependentSignalsMessage = "VECTOR__INDEPENDENT_SIG_MSG";
constexpr uint32_t ExtendedFlag = 0x80000000u;
constexpr uint64_t IndependentSignalsId = 0xC0000000u;

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }
bool isDelimiter(char c)
{
    return isSpace(c) || c == ':' || c == ';' || c == '|' || c == '@' || c == '(' || c == ')' || c == '['
        || c == ']' || c == ',' || c == '"';
}

// Reads one statement. Every read skips leading white space; failures leave the position
// where it was, so callers can try alternatives.
class Cursor {
public:
    explicit Cursor(std::string_view s) : p(s.data()), e(s.data() + s.size()) {}

    void skipSpace()
    {
        while (p < e && isSpace(*p))
            ++p;
    }
    bool atEnd()
    {
        skipSpace();
        return p >= e || *p == ';';
    }
    bool eat(char c)
    {
        skipSpace();
        if (p < e && *p == c) {
            ++p;
            return true;
        }
        return false;
    }
    char peek()
    {
        skipSpace();
        return p < e ? *p : '\0';
    }
    bool word(std::string_view& out)
    {
        skipSpace();
        const char* s = p;
        while (p < e && !isDelimiter(*p))
            ++p;
        out = std::string_view(s, size_t(p - s));
        return p > s;
    }
    // Reads a T after blanks and an optional '+'; `end` is where its text stops.
    template <typename T>
    bool fromChars(T& out, const char*& end)
    {
        skipSpace();
        const char* s = p;
        if (s < e && *s == '+')
            ++s;
        const auto r = std::from_chars(s, e, out);
        end = r.ptr;
        return r.ec == std::errc();
    }
    bool number(double& out)
    {
        const char* end;
        if (!fromChars(out, end) || !std::isfinite(out))
            return false;
        p = end;
        return true;
    }
    bool integer(int64_t& out)
    {
        const char* q;
        if (!fromChars(out, q))
            return false;
        // "1.0" where an integer is expected: accept a fraction of zeros.
        if (q < e && *q == '.') {
            ++q;
            while (q < e && *q == '0')
                ++q;
            if (q < e && *q >= '1' && *q <= '9')
                return false;
        }
        p = q;
        return true;
    }
    bool unsignedInteger(uint64_t& out)
    {
        const char* end;
        if (!fromChars(out, end))
            return false;
        p = end;
        return true;
    }
    // A quoted string; \" and \\ stand for themselves.
    bool quoted(std::string& out)
    {
        skipSpace();
        if (p >= e || *p != '"')
            return false;
        const char* q = p + 1;
        std::string text;
        while (q < e && *q != '"') {
            if (*q == '\\' && q + 1 < e && (q[1] == '"' || q[1] == '\\'))
                ++q;
            text.push_back(*q++);
        }
        if (q >= e)
            return false;
        p = q + 1;
        out = std::move(text);
        return true;
    }
    // A raw character, no white space skipping.
    bool rawChar(char& c)
    {
        if (p >= e)
            return false;
        c = *p++;
        return true;
    }

private:
    const char* p;
    const char* e;
};

struct Line {
    std::string_view text;
    int number;
};

std::vector<Line> splitLines(std::string_view text)
{
    std::vector<Line> lines;
    lines.reserve(text.size() / 30 + 1);
    size_t start = 0;
    int number = 1;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' || text[i] == '\r') {
            lines.push_back({text.substr(start, i - start), number++});
            if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            start = i + 1;
        }
    }
    if (start < text.size())
        lines.push_back({text.substr(start), number});
    return lines;
}

std::string_view firstWord(std::string_view line)
{
    Cursor c(line);
    std::string_view w;
    c.word(w);
    return w;
}

bool isIndented(std::string_view line) { return !line.empty() && (line[0] == ' ' || line[0] == '\t'); }

// Statements that start a new statement wherever they appear at the start of a line.
bool isKeyword(std::string_view w)
{
    static const char* const keywords[] = {"VERSION", "NS_", "BS_", "BU_", "BO_", "SG_", "CM_", "BA_DEF_",
        "BA_DEF_DEF_", "BA_", "VAL_", "VAL_TABLE_", "SIG_VALTYPE_", "SG_MUL_VAL_", "BO_TX_BU_", "EV_",
        "ENVVAR_DATA_", "SGTYPE_", "SGTYPE_VAL_", "SIG_GROUP_", "SIG_TYPE_REF_", "SIGTYPE_VALTYPE_",
        "CAT_DEF_", "CAT_", "FILTER", "BA_DEF_SGTYPE_", "BA_SGTYPE_", "BA_DEF_REL_", "BA_REL_",
        "BA_DEF_DEF_REL_", "BU_SG_REL_", "BU_EV_REL_", "BU_BO_REL_", "NS_DESC_", "EV_DATA_"};
    for (const char* k : keywords)
        if (w == k)
            return true;
    return false;
}

// Whether the statement so far leaves a string open (an unescaped quote without its
// partner), and whether it holds a ';' outside strings.
struct QuoteScan {
    bool open = false;
    bool terminated = false;
};

// Scans one more piece of a statement; escapes are those quoted strings know.
void scanQuotes(std::string_view s, QuoteScan& scan)
{
    for (size_t i = 0; i < s.size(); ++i) {
        if (scan.open && s[i] == '\\' && i + 1 < s.size() && (s[i + 1] == '"' || s[i + 1] == '\\')) {
            ++i;
            continue;
        }
        if (s[i] == '"')
            scan.open = !scan.open;
        else if (!scan.open && s[i] == ';')
            scan.terminated = true;
    }
}

bool endsWithSemicolonStatement(std::string_view keyword)
{
    return keyword != "BO_" && keyword != "SG_" && keyword != "BU_" && keyword != "BS_" && keyword != "VERSION"
        && keyword != "NS_" && keyword != "EV_";
}

class Parser {
public:
    DbcFile run(std::string_view text);

private:
    void problem(int line, std::string text) { file.problems.push_back({line, std::move(text)}); }
    void statement(std::string_view keyword, std::string_view text, int line);
    void message(Cursor& c, int line);
    void signal(Cursor& c, int line);
    void comment(Cursor& c, int line);
    void attributeDefault(Cursor& c, int line);
    void attribute(Cursor& c, int line);
    void values(Cursor& c, int line);
    void valueTable(Cursor& c, int line);
    void valueType(Cursor& c, int line);
    void muxValues(Cursor& c, int line);
    bool readLabels(Cursor& c, int line, std::vector<ValueLabel>& out);
    void finish();
    void resolveMultiplexing(DbcMessage& m);

    DbcMessage* messageById(uint64_t rawId, int line);
    DbcSignal* signalByName(DbcMessage& m, std::string_view name, int line);

    DbcFile file;
    std::unordered_map<uint32_t, size_t> byRawId;
    enum { NoMessage = -1, SkippedMessage = -2 };
    long current = NoMessage;
    int defaultCycleTime = 0;
    std::vector<int> explicitCycleTime;  // per message, -1 when none given
    // Per message: signal name (as first written) to its index; keeps large files linear.
    std::vector<std::unordered_map<std::string, size_t>> signalIndex;
    struct Rename {
        uint32_t rawId;
        std::string signal;  // empty for the message itself
        std::string longName;
        int line;
    };
    std::vector<Rename> renames;
    struct MuxEntry {
        uint32_t rawId;
        std::string signal, switchName;
        std::vector<MuxRange> ranges;
        int line;
    };
    std::vector<MuxEntry> muxEntries;
    std::unordered_map<std::string, std::vector<size_t>> muxIndex;  // by message key and signal
    static std::string muxKey(uint32_t key, const std::string& signal) { return std::to_string(key) + '/' + signal; }
};

DbcFile Parser::run(std::string_view text)
{
    const size_t probe = std::min<size_t>(text.size(), 4096);
    if (text.substr(0, probe).find('\0') != std::string_view::npos) {
        file.fatalError = "binary data, not a catalogue";
        return std::move(file);
    }

    const std::vector<Line> lines = splitLines(text);
    bool inNamespace = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        const std::string_view keyword = firstWord(line.text);
        if (keyword.empty() || keyword.substr(0, 2) == "//")
            continue;
        if (inNamespace) {
            Cursor c(line.text);
            std::string_view w;
            c.word(w);
            if (c.atEnd() && (isIndented(line.text) || isKeyword(w)))
                continue;  // one name of the NS_ list
            inNamespace = false;
        }

        // Gather the statement: strings may span lines, and ';'-terminated statements may
        // wrap until their ';' (a missing ';' ends at a blank line or the next keyword).
        std::string joined;
        std::string_view statementText = line.text;
        const bool needsTerminator = endsWithSemicolonStatement(keyword);
        QuoteScan scan;
        scanQuotes(line.text, scan);
        size_t j = i;
        auto more = [&] {
            if (j + 1 >= lines.size()) {
                if (scan.open)
                    problem(line.number, "unterminated string");
                return false;
            }
            const std::string_view nextWord = firstWord(lines[j + 1].text);
            if (scan.open) {
                if (isKeyword(nextWord) && nextWord != "VERSION" && nextWord != "FILTER") {
                    problem(line.number, "unterminated string");
                    return false;
                }
                return true;
            }
            if (!needsTerminator || scan.terminated)
                return false;
            return !nextWord.empty() && !isKeyword(nextWord);
        };
        while (more()) {
            if (joined.empty())
                joined.assign(statementText);
            joined.push_back('\n');
            ++j;
            joined.append(lines[j].text);
            scanQuotes(lines[j].text, scan);
        }
        if (!joined.empty())
            statementText = joined;
        i = j;

        if (keyword == "NS_") {
            inNamespace = true;
            current = NoMessage;
            continue;
        }
        statement(keyword, statementText, line.number);
    }
    finish();
    return std::move(file);
}

void Parser::statement(std::string_view keyword, std::string_view text, int line)
{
    Cursor c(text);
    std::string_view w;
    c.word(w);
    // "BO_:"-style keywords glued to their colon are fine; so is a missing colon.
    if (keyword == "SG_") {
        if (current == SkippedMessage)
            return;
        if (current == NoMessage) {
            problem(line, "signal outside a message");
            return;
        }
        signal(c, line);
        return;
    }
    current = NoMessage;
    if (keyword == "BO_")
        message(c, line);
    else if (keyword == "CM_")
        comment(c, line);
    else if (keyword == "BA_DEF_DEF_")
        attributeDefault(c, line);
    else if (keyword == "BA_")
        attribute(c, line);
    else if (keyword == "VAL_")
        values(c, line);
    else if (keyword == "VAL_TABLE_")
        valueTable(c, line);
    else if (keyword == "SIG_VALTYPE_")
        valueType(c, line);
    else if (keyword == "SG_MUL_VAL_")
        muxValues(c, line);
    else if (!isKeyword(keyword))
        problem(line, "unknown statement '" + std::string(keyword.substr(0, 40)) + "' skipped");
    // Other known statements (nodes, attribute definitions, groups...) carry nothing we use.
}

void Parser::message(Cursor& c, int line)
{
    uint64_t rawId = 0;
    std::string_view name;
    if (!c.unsignedInteger(rawId) || rawId > 0xFFFFFFFFull || !c.word(name)) {
        problem(line, "message without a valid id and name skipped");
        current = SkippedMessage;
        return;
    }
    if (name == IndependentSignalsMessage) {
        current = SkippedMessage;
        return;
    }
    c.eat(':');
    int64_t dlc = 0;
    if (!c.integer(dlc) || dlc < 0 || dlc > 64) {
        problem(line, "message " + std::string(name) + " has no valid length; assumed 8");
        dlc = 8;
    }
    DbcMessage m;
    m.extended = rawId & ExtendedFlag;
    m.id = uint32_t(rawId & 0x1FFFFFFFu);
    if (!m.extended && m.id > 0x7FF) {
        // Some files write 29-bit ids without the flag.
        m.extended = true;
    }
    m.name.assign(name);
    m.dlc = unsigned(dlc);
    std::string_view tx;
    if (c.word(tx))
        m.transmitter.assign(tx);
    m.line = line;
    const uint32_t key = m.id | (m.extended ? ExtendedFlag : 0);
    if (byRawId.count(key)) {
        problem(line, "message " + m.name + " repeats id " + std::to_string(m.id) + "; skipped");
        current = SkippedMessage;
        return;
    }
    byRawId.emplace(key, file.messages.size());
    current = long(file.messages.size());
    file.messages.push_back(std::move(m));
    explicitCycleTime.push_back(-1);
    signalIndex.emplace_back();
}

void Parser::signal(Cursor& c, int line)
{
    DbcMessage& m = file.messages[size_t(current)];
    DbcSignal s;
    s.line = line;
    std::string_view name;
    if (!c.word(name)) {
        problem(line, "signal without a name skipped");
        return;
    }
    s.name.assign(name);
    std::string_view mux;
    if (c.peek() != ':' && c.word(mux)) {
        if (mux == "M") {
            s.isMultiplexor = true;
        } else if (mux.size() >= 2 && mux[0] == 'm') {
            std::string_view digits = mux.substr(1);
            if (digits.back() == 'M') {
                s.isMultiplexor = true;
                digits.remove_suffix(1);
            }
            const auto r = std::from_chars(digits.data(), digits.data() + digits.size(), s.muxValue);
            if (r.ec != std::errc() || r.ptr != digits.data() + digits.size()) {
                problem(line, "signal " + s.name + ": bad multiplexer '" + std::string(mux.substr(0, 20)) + "'; skipped");
                return;
            }
            s.isMultiplexed = true;
        } else {
            problem(line, "signal " + s.name + ": bad multiplexer '" + std::string(mux.substr(0, 20)) + "'; skipped");
            return;
        }
    }
    int64_t start = 0, length = 0;
    char order = 0, sign = 0;
    if (!c.eat(':') || !c.integer(start) || !c.eat('|') || !c.integer(length) || !c.eat('@') || !c.rawChar(order)
        || !c.rawChar(sign) || (order != '0' && order != '1') || (sign != '+' && sign != '-') || start < 0
        || start > 65535 || length < 0 || length > 65535) {
        problem(line, "signal " + s.name + ": bad position; skipped");
        return;
    }
    s.layout.startBit = uint16_t(start);
    s.layout.length = uint16_t(length);
    s.layout.order = order == '1' ? SignalLayout::ByteOrder::Intel : SignalLayout::ByteOrder::Motorola;
    s.layout.isSigned = sign == '-';
    if (!c.eat('(') || !c.number(s.factor) || !c.eat(',') || !c.number(s.offset) || !c.eat(')')) {
        problem(line, "signal " + s.name + ": bad factor or offset; skipped");
        return;
    }
    if (!c.eat('[') || !c.number(s.minimum) || !c.eat('|') || !c.number(s.maximum) || !c.eat(']')) {
        problem(line, "signal " + s.name + ": bad range; kept without one");
        s.minimum = s.maximum = 0;
    }
    if (!c.quoted(s.unit))
        s.unit.clear();
    std::string error;
    if (!s.layout.prepare(&error)) {
        problem(line, "signal " + s.name + ": " + error + "; skipped");
        return;
    }
    if (s.layout.bytesNeeded() > m.dlc && m.dlc > 0)
        problem(line, "signal " + s.name + " reaches past the message length " + std::to_string(m.dlc));
    auto& index = signalIndex[size_t(current)];
    if (!index.emplace(s.name, m.signalList.size()).second) {
        problem(line, "signal " + s.name + " repeated in message " + m.name + "; skipped");
        return;
    }
    m.signalList.push_back(std::move(s));
}

DbcMessage* Parser::messageById(uint64_t rawId, int line)
{
    // The independent-signals pseudo message is skipped on purpose; stay quiet about it.
    if (rawId == IndependentSignalsId)
        return nullptr;
    uint32_t key = uint32_t(rawId & 0x1FFFFFFFu);
    if ((rawId & ExtendedFlag) || key > 0x7FF)
        key |= ExtendedFlag;
    const auto it = byRawId.find(key);
    if (rawId > 0xFFFFFFFFull || it == byRawId.end()) {
        problem(line, "no message with id " + std::to_string(rawId));
        return nullptr;
    }
    return &file.messages[it->second];
}

DbcSignal* Parser::signalByName(DbcMessage& m, std::string_view name, int line)
{
    const auto& index = signalIndex[size_t(&m - file.messages.data())];
    const auto it = index.find(std::string(name));
    if (it != index.end())
        return &m.signalList[it->second];
    problem(line, "message " + m.name + " has no signal " + std::string(name.substr(0, 64)));
    return nullptr;
}

void Parser::comment(Cursor& c, int line)
{
    std::string_view kind;
    std::string text;
    if (c.peek() == '"') {
        c.quoted(text);  // a comment on the file itself
        return;
    }
    c.word(kind);
    uint64_t id = 0;
    if (kind == "BO_" || kind == "SG_") {
        if (!c.unsignedInteger(id)) {
            problem(line, "comment without a message id skipped");
            return;
        }
        std::string_view signalName;
        if (kind == "SG_")
            c.word(signalName);
        if (!c.quoted(text)) {
            problem(line, "comment without its text skipped");
            return;
        }
        DbcMessage* m = messageById(id, line);
        if (!m)
            return;
        if (kind == "BO_") {
            m->comment = std::move(text);
        } else if (DbcSignal* s = signalByName(*m, signalName, line)) {
            s->comment = std::move(text);
        }
    }
    // Comments on nodes and environment variables are not needed.
}

void Parser::attributeDefault(Cursor& c, int line)
{
    std::string name;
    if (!c.quoted(name))
        return;
    if (name == "GenMsgCycleTime") {
        double v = 0;
        if (c.number(v) && v >= 0 && v < 1e9)
            defaultCycleTime = int(v);
        else
            problem(line, "bad default cycle time");
    }
}

void Parser::attribute(Cursor& c, int line)
{
    std::string name;
    if (!c.quoted(name)) {
        problem(line, "attribute without a name skipped");
        return;
    }
    std::string_view kind;
    c.word(kind);
    if (name == "GenMsgCycleTime" && kind == "BO_") {
        uint64_t id = 0;
        double v = 0;
        if (!c.unsignedInteger(id) || !c.number(v) || v < 0 || v > 1e9) {
            problem(line, "bad cycle time skipped");
            return;
        }
        if (DbcMessage* m = messageById(id, line))
            explicitCycleTime[size_t(m - file.messages.data())] = int(v);
    } else if ((name == "SystemSignalLongSymbol" && kind == "SG_")
        || (name == "SystemMessageLongSymbol" && kind == "BO_")) {
        uint64_t id = 0;
        std::string_view signalName;
        std::string longName;
        if (!c.unsignedInteger(id) || (kind == "SG_" && !c.word(signalName)) || !c.quoted(longName)
            || longName.empty()) {
            problem(line, "bad long name skipped");
            return;
        }
        renames.push_back({uint32_t(id), std::string(signalName), std::move(longName), line});
    }
}

bool Parser::readLabels(Cursor& c, int line, std::vector<ValueLabel>& out)
{
    while (!c.atEnd()) {
        ValueLabel l;
        double v = 0;
        // Keys are integers; a few files write them as "1.0" or beyond 63 bits.
        if (!c.integer(l.value)) {
            if (!c.number(v) || v != std::floor(v) || std::fabs(v) > 9.2e18) {
                problem(line, "bad value label skipped");
                return false;
            }
            l.value = int64_t(v);
        }
        if (!c.quoted(l.label)) {
            problem(line, "value " + std::to_string(l.value) + " has no label; rest skipped");
            return false;
        }
        out.push_back(std::move(l));
    }
    std::stable_sort(out.begin(), out.end(), [](const ValueLabel& a, const ValueLabel& b) { return a.value < b.value; });
    // One label per value: the first written wins.
    out.erase(std::unique(out.begin(), out.end(), [](const ValueLabel& a, const ValueLabel& b) { return a.value == b.value; }),
        out.end());
    return true;
}

void Parser::values(Cursor& c, int line)
{
    uint64_t id = 0;
    std::string_view signalName;
    if (!c.unsignedInteger(id)) {
        return;  // labels of an environment variable
    }
    if (!c.word(signalName)) {
        problem(line, "value labels without a signal skipped");
        return;
    }
    std::vector<ValueLabel> labels;
    readLabels(c, line, labels);
    if (DbcMessage* m = messageById(id, line))
        if (DbcSignal* s = signalByName(*m, signalName, line))
            s->labels = std::move(labels);
}

void Parser::valueTable(Cursor& c, int line)
{
    std::string_view name;
    if (!c.word(name)) {
        problem(line, "value table without a name skipped");
        return;
    }
    std::vector<ValueLabel> labels;
    readLabels(c, line, labels);
    file.valueTables.emplace_back(std::string(name), std::move(labels));
}

void Parser::valueType(Cursor& c, int line)
{
    uint64_t id = 0;
    std::string_view signalName;
    int64_t type = 0;
    if (!c.unsignedInteger(id) || !c.word(signalName)) {
        problem(line, "bad value type skipped");
        return;
    }
    c.eat(':');
    if (!c.integer(type) || type < 0 || type > 2) {
        problem(line, "bad value type skipped");
        return;
    }
    DbcMessage* m = messageById(id, line);
    DbcSignal* s = m ? signalByName(*m, signalName, line) : nullptr;
    if (!s)
        return;
    SignalLayout layout = s->layout;
    layout.type = type == 1 ? SignalLayout::ValueType::Float32
        : type == 2         ? SignalLayout::ValueType::Float64
                            : SignalLayout::ValueType::Integer;
    std::string error;
    if (!layout.prepare(&error)) {
        problem(line, "signal " + s->name + ": " + error + "; kept as an integer");
        return;
    }
    s->layout = layout;
}

void Parser::muxValues(Cursor& c, int line)
{
    MuxEntry e;
    uint64_t id = 0;
    std::string_view signalName, switchName;
    if (!c.unsignedInteger(id) || !c.word(signalName) || !c.word(switchName)) {
        problem(line, "bad multiplexer values skipped");
        return;
    }
    e.rawId = uint32_t(id);
    e.signal.assign(signalName);
    e.switchName.assign(switchName);
    e.line = line;
    while (!c.atEnd()) {
        MuxRange r;
        // "3-5" reads as 3 then -5 when taken as numbers, so take the dash apart.
        if (!c.unsignedInteger(r.low) || !c.eat('-') || !c.unsignedInteger(r.high) || r.high < r.low) {
            problem(line, "bad multiplexer range skipped");
            return;
        }
        e.ranges.push_back(r);
        c.eat(',');
    }
    if (e.ranges.empty()) {
        problem(line, "multiplexer values without a range skipped");
        return;
    }
    uint32_t key = e.rawId & 0x1FFFFFFFu;
    if ((e.rawId & ExtendedFlag) || key > 0x7FF)
        key |= ExtendedFlag;
    muxIndex[muxKey(key, e.signal)].push_back(muxEntries.size());
    muxEntries.push_back(std::move(e));
}

void Parser::resolveMultiplexing(DbcMessage& m)
{
    const auto& index = signalIndex[size_t(&m - file.messages.data())];
    auto indexOf = [&index](const std::string& name) {
        const auto it = index.find(name);
        return it == index.end() ? -1 : int(it->second);
    };
    int plainSwitch = -1;
    for (size_t i = 0; i < m.signalList.size(); ++i) {
        if (m.signalList[i].isMultiplexor && !m.signalList[i].isMultiplexed) {
            plainSwitch = int(i);
            break;
        }
    }
    const uint32_t key = m.id | (m.extended ? ExtendedFlag : 0);
    for (DbcSignal& s : m.signalList) {
        if (!s.isMultiplexed)
            continue;
        bool explicitRanges = false;
        const auto found = muxIndex.find(muxKey(key, s.name));
        static const std::vector<size_t> none;
        for (size_t entryIndex : found == muxIndex.end() ? none : found->second) {
            const MuxEntry& e = muxEntries[entryIndex];
            const int sw = indexOf(e.switchName);
            if (sw < 0 || !m.signalList[size_t(sw)].isMultiplexor) {
                problem(e.line, "signal " + s.name + ": '" + e.switchName + "' is not a multiplexer of " + m.name);
                continue;
            }
            if (!explicitRanges) {
                s.muxRanges.clear();
                s.muxSwitch = sw;
            } else if (s.muxSwitch != sw) {
                problem(e.line, "signal " + s.name + " names a second multiplexer; ignored");
                continue;
            }
            explicitRanges = true;
            s.muxRanges.insert(s.muxRanges.end(), e.ranges.begin(), e.ranges.end());
        }
        if (!explicitRanges) {
            if (plainSwitch < 0) {
                problem(s.line, "signal " + s.name + " is multiplexed but " + m.name + " has no multiplexer");
                s.muxSwitch = -2;  // never selected
                continue;
            }
            s.muxSwitch = plainSwitch;
            s.muxRanges.assign(1, MuxRange{s.muxValue, s.muxValue});
        }
    }
    // A chain of switches that loops can never be decided; such signals are never selected.
    const size_t n = m.signalList.size();
    for (DbcSignal& s : m.signalList) {
        int at = s.muxSwitch;
        size_t steps = 0;
        while (at >= 0 && steps <= n) {
            at = m.signalList[size_t(at)].muxSwitch;
            ++steps;
        }
        if (steps > n) {
            problem(s.line, "signal " + s.name + ": multiplexers select each other");
            s.muxSwitch = -2;
        }
    }
    for (DbcSignal& s : m.signalList)
        if (s.muxSwitch == -2)
            s.muxRanges.clear();
}

void Parser::finish()
{
    for (size_t i = 0; i < file.messages.size(); ++i)
        file.messages[i].cycleTimeMs = explicitCycleTime[i] >= 0 ? explicitCycleTime[i] : defaultCycleTime;
    for (DbcMessage& m : file.messages)
        resolveMultiplexing(m);
    // Long names last: every other statement refers to the short ones.
    for (const Rename& r : renames) {
        DbcMessage* m = messageById(r.rawId, r.line);
        if (!m)
            continue;
        if (r.signal.empty()) {
            m->name = r.longName;
        } else if (DbcSignal* s = signalByName(*m, r.signal, r.line)) {
            s->name = r.longName;
        }
    }
}

} // namespace

const std::string* DbcSignal::labelFor(int64_t raw) const
{
    const auto it = std::lower_bound(labels.begin(), labels.end(), raw,
        [](const ValueLabel& l, int64_t v) { return l.value < v; });
    return it != labels.end() && it->value == raw ? &it->label : nullptr;
}

size_t DbcFile::signalCount() const
{
    size_t n = 0;
    for (const DbcMessage& m : messages)
        n += m.signalList.size();
    return n;
}

DbcFile parseDbc(std::string_view text)
{
    return Parser().run(text);
}
