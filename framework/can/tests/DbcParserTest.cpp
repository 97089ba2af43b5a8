#include "CANTestSupport.h"

#include "can/DbcParser.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

const DbcMessage* message(const DbcFile& f, const std::string& name)
{
    for (const DbcMessage& m : f.messages)
        if (m.name == name)
            return &m;
    return nullptr;
}

const DbcSignal* signal(const DbcMessage* m, const std::string& name)
{
    if (!m)
        return nullptr;
    for (const DbcSignal& s : m->signalList)
        if (s.name == name)
            return &s;
    return nullptr;
}

bool hasProblemAt(const DbcFile& f, int line)
{
    return std::any_of(f.problems.begin(), f.problems.end(), [line](const DbcProblem& p) { return p.line == line; });
}

TEST(DbcParser, ReadsMessagesSignalsAndTheirOrder)
{
    const DbcFile f = parseDbc(R"(VERSION ""
NS_ :
    CM_
    BA_

BS_:
BU_: A B

BO_ 4000 Zeta: 8 A
 SG_ Last : 0|8@1+ (1,0) [0|255] "" B
 SG_ First : 15|16@0- (0.5,-1) [-100|100] "km/h" B,A

BO_ 100 Alpha: 8 B
 SG_ Only : 8|4@1+ (1,0) [0|15] "" A
)");
    EXPECT_TRUE(f.fatalError.empty());
    EXPECT_TRUE(f.problems.empty()) << f.problems.front().line << " " << f.problems.front().text;
    ASSERT_EQ(f.messages.size(), 2u);
    EXPECT_EQ(f.messages[0].name, "Zeta");
    EXPECT_EQ(f.messages[1].name, "Alpha");
    const DbcMessage& z = f.messages[0];
    EXPECT_EQ(z.id, 4000u);
    EXPECT_TRUE(z.extended);  // beyond 11 bits even without the flag
    EXPECT_EQ(z.transmitter, "A");
    ASSERT_EQ(z.signalList.size(), 2u);
    EXPECT_EQ(z.signalList[0].name, "Last");
    const DbcSignal& first = z.signalList[1];
    EXPECT_EQ(first.layout.startBit, 15);
    EXPECT_EQ(first.layout.length, 16);
    EXPECT_EQ(first.layout.order, SignalLayout::ByteOrder::Motorola);
    EXPECT_TRUE(first.layout.isSigned);
    EXPECT_DOUBLE_EQ(first.factor, 0.5);
    EXPECT_DOUBLE_EQ(first.offset, -1);
    EXPECT_DOUBLE_EQ(first.minimum, -100);
    EXPECT_DOUBLE_EQ(first.maximum, 100);
    EXPECT_EQ(first.unit, "km/h");
    EXPECT_EQ(f.messages[1].id, 100u);
    EXPECT_FALSE(f.messages[1].extended);
}

TEST(DbcParser, Bit31MarksExtendedAndThePseudoMessageGoesQuietly)
{
    const DbcFile f = parseDbc(R"(
BO_ 2147483748 SmallExtended: 8 X
BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 Vector__XXX
 SG_ Orphan : 0|8@1+ (1,0) [0|0] "" Vector__XXX
CM_ SG_ 3221225472 Orphan "ignored along with its message";
)");
    ASSERT_EQ(f.messages.size(), 1u);
    EXPECT_EQ(f.messages[0].id, 100u);
    EXPECT_TRUE(f.messages[0].extended);  // although it fits 11 bits
    EXPECT_TRUE(f.problems.empty()) << f.problems.front().text;
}

TEST(DbcParser, ValueTypesLabelsCommentsAndAttributes)
{
    const DbcFile f = parseDbc(R"(BO_ 10 M: 16 X
 SG_ Flt : 0|32@1- (1,0) [0|0] "V" X
 SG_ Dbl : 64|64@1- (1,0) [0|0] "" X
 SG_ Sel : 32|8@1+ (1,0) [0|255] "" X
 SG_ ShortName : 40|8@1+ (1,0) [0|255] "" X
 SG_ Narrow : 48|8@1+ (1,0) [0|255] "" X

CM_ SG_ 10 Sel "He said \"go\"
and went";
CM_ BO_ 10 "message comment";
BA_DEF_ BO_ "GenMsgCycleTime" INT 0 10000;
BA_DEF_DEF_ "GenMsgCycleTime" 100;
BA_ "GenMsgCycleTime" BO_ 10 20;
BA_ "SystemSignalLongSymbol" SG_ 10 ShortName "AVeryLongSignalNameThatExceedsThirtyTwoCharacters";
VAL_ 10 Sel -1 "minus one" 0 "" 2 "two" 1 "one" ;
VAL_ 10 ShortName 3 "three";
SIG_VALTYPE_ 10 Flt : 1;
SIG_VALTYPE_ 10 Dbl : 2;
SIG_VALTYPE_ 10 Narrow : 1;
VAL_TABLE_ Onoff 1 "On" 0 "Off" ;
)");
    const DbcMessage* m = message(f, "M");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->cycleTimeMs, 20);
    EXPECT_EQ(m->comment, "message comment");
    EXPECT_EQ(signal(m, "Flt")->layout.type, SignalLayout::ValueType::Float32);
    EXPECT_EQ(signal(m, "Dbl")->layout.type, SignalLayout::ValueType::Float64);
    // An 8-bit float cannot be: reported at its line, the signal stays an integer.
    EXPECT_EQ(signal(m, "Narrow")->layout.type, SignalLayout::ValueType::Integer);
    EXPECT_TRUE(hasProblemAt(f, 19));
    const DbcSignal* sel = signal(m, "Sel");
    ASSERT_TRUE(sel);
    EXPECT_EQ(sel->comment, "He said \"go\"\nand went");
    ASSERT_EQ(sel->labels.size(), 4u);
    EXPECT_EQ(sel->labels[0].value, -1);  // sorted, negative keys kept
    EXPECT_EQ(*sel->labelFor(-1), "minus one");
    EXPECT_EQ(*sel->labelFor(0), "");  // an empty label is a label
    EXPECT_EQ(*sel->labelFor(2), "two");
    EXPECT_EQ(sel->labelFor(5), nullptr);
    // The long name replaces the short one, after statements that used the short one.
    const DbcSignal* longName = signal(m, "AVeryLongSignalNameThatExceedsThirtyTwoCharacters");
    ASSERT_TRUE(longName);
    EXPECT_EQ(*longName->labelFor(3), "three");
    EXPECT_FALSE(signal(m, "ShortName"));
    ASSERT_EQ(f.valueTables.size(), 1u);
    EXPECT_EQ(f.valueTables[0].first, "Onoff");
    EXPECT_EQ(f.valueTables[0].second.size(), 2u);
}

TEST(DbcParser, SimpleAndExtendedMultiplexing)
{
    const DbcFile f = parseDbc(R"(BO_ 1 Simple: 8 X
 SG_ Mux M : 0|8@1+ (1,0) [0|0] "" X
 SG_ A m0 : 8|8@1+ (1,0) [0|0] "" X
 SG_ B m1 : 8|8@1+ (1,0) [0|0] "" X
 SG_ Plain : 16|8@1+ (1,0) [0|0] "" X

BO_ 2 Extended: 8 X
 SG_ Top M : 0|4@1+ (1,0) [0|0] "" X
 SG_ Middle m1M : 4|4@1+ (1,0) [0|0] "" X
 SG_ Leaf m2 : 8|8@1+ (1,0) [0|0] "" X

BO_ 3 Orphans: 8 X
 SG_ Lost m3 : 8|8@1+ (1,0) [0|0] "" X

SG_MUL_VAL_ 2 Middle Top 1-1;
SG_MUL_VAL_ 2 Leaf Middle 2-3, 5-5;
)");
    const DbcMessage* s = message(f, "Simple");
    EXPECT_TRUE(signal(s, "Mux")->isMultiplexor);
    EXPECT_EQ(signal(s, "A")->muxSwitch, 0);
    ASSERT_EQ(signal(s, "B")->muxRanges.size(), 1u);
    EXPECT_EQ(signal(s, "B")->muxRanges[0].low, 1u);
    EXPECT_EQ(signal(s, "Plain")->muxSwitch, -1);

    const DbcMessage* e = message(f, "Extended");
    const DbcSignal* middle = signal(e, "Middle");
    EXPECT_TRUE(middle->isMultiplexor && middle->isMultiplexed);
    EXPECT_EQ(middle->muxSwitch, 0);
    const DbcSignal* leaf = signal(e, "Leaf");
    EXPECT_EQ(leaf->muxSwitch, 1);
    ASSERT_EQ(leaf->muxRanges.size(), 2u);
    EXPECT_EQ(leaf->muxRanges[0].high, 3u);
    EXPECT_EQ(leaf->muxRanges[1].low, 5u);

    // A multiplexed signal in a message without a multiplexer is reported and never selected.
    EXPECT_LT(signal(message(f, "Orphans"), "Lost")->muxSwitch, -1);
    EXPECT_TRUE(hasProblemAt(f, 13));
}

TEST(DbcParser, LenientAboutLayoutAndReportsBadLinesWithNumbers)
{
    // Tabs, CRLF, missing semicolons, a 64-byte FD message, DLC 0 and three bad lines.
    const std::string text = "BO_ 1 Fd: 64 X\r\n"
                             "\tSG_ Far : 496|16@1+ (1,0) [0|0] \"\" X\r\n"
                             " SG_ Broken : nonsense\r\n"
                             "BO_ 2 Empty: 0 X\r\n"
                             "BO_ 3 Bits: 8 X\r\n"
                             " SG_ TooLong : 60|16@1+ (1,0) [0|0] \"\" X\r\n"
                             " SG_ Good : 0|8@1+ (2,0) [0|0] \"\" X\r\n"
                             "WHATEVER_ 1 2 3;\r\n"
                             "VAL_ 3 Good 1 \"one\" 2 \"two\"\r\n"
                             "CM_ BO_ 3 \"no semicolon\"\r\n"
                             "BA_ \"GenMsgCycleTime\" BO_ 3 50\r\n";
    const DbcFile f = parseDbc(text);
    ASSERT_EQ(f.messages.size(), 3u);
    EXPECT_EQ(f.messages[0].dlc, 64u);
    ASSERT_EQ(f.messages[0].signalList.size(), 1u);
    EXPECT_EQ(f.messages[0].signalList[0].layout.bytesNeeded(), 64u);
    EXPECT_EQ(f.messages[1].dlc, 0u);
    const DbcMessage* bits = message(f, "Bits");
    ASSERT_EQ(bits->signalList.size(), 2u);  // TooLong reaches byte 9 but is kept, with a problem
    EXPECT_EQ(*signal(bits, "Good")->labelFor(2), "two");
    EXPECT_EQ(bits->comment, "no semicolon");
    EXPECT_EQ(bits->cycleTimeMs, 50);
    EXPECT_TRUE(hasProblemAt(f, 3));  // Broken
    EXPECT_TRUE(hasProblemAt(f, 6));  // TooLong
    EXPECT_TRUE(hasProblemAt(f, 8));  // unknown statement
    EXPECT_EQ(f.problems.size(), 3u);
}

TEST(DbcParser, UnterminatedStringDoesNotSwallowTheRest)
{
    const DbcFile f = parseDbc("BO_ 1 M: 8 X\n SG_ S : 0|8@1+ (1,0) [0|0] \"\" X\n"
                               "CM_ SG_ 1 S \"never closed;\n"
                               "VAL_ 1 S 1 \"one\";\n");
    ASSERT_EQ(f.messages.size(), 1u);
    EXPECT_TRUE(hasProblemAt(f, 3));
    EXPECT_EQ(*f.messages[0].signalList[0].labelFor(1), "one");
}

// A huge message, its labels and a comment left open to the end of the file.
static std::string hugeCatalogue(int n)
{
    std::string text = "BO_ 1 M: 8 X\n";
    for (int i = 0; i < n; ++i)
        text += " SG_ S" + std::to_string(i) + " : 0|8@1+ (1,0) [0|0] \"\" X\n";
    for (int i = 0; i < n; ++i)
        text += "VAL_ 1 S" + std::to_string(i) + " 1 \"a\";\n";
    text += "CM_ \"open";
    for (int i = 0; i < n; ++i)
        text += "\nmore comment";
    return text;
}

// Work per line must not grow with the file: if any step rescanned what came before, this
// would take minutes, past the test's limit. Parse time against size is can_bench's to show.
TEST(DbcParser, HugeInputParsesWhole)
{
    const int n = 40000;
    const DbcFile f = parseDbc(hugeCatalogue(n));
    ASSERT_EQ(f.signalCount(), size_t(n));
    EXPECT_EQ(*f.messages[0].signalList[n - 1].labelFor(1), "a");
    ASSERT_EQ(f.problems.size(), 1u);
    EXPECT_EQ(f.problems[0].line, 2 * n + 2);
}

// Every reference catalogue loads completely; whatever they hold that we cannot use is
// reported with a line number, and the whole set loads well within the time budget.
TEST(DbcParser, ParsesEveryReferenceCatalogue)
{
    const QDir dir(referenceDbcDir());
    const QStringList files = dir.entryList({QStringLiteral("*.dbc")}, QDir::Files, QDir::Name);
    ASSERT_GE(files.size(), 4);
    size_t messages = 0, signalCount = 0;
    for (const QString& name : files) {
        QFile file(dir.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        const DbcFile f = parseDbc(std::string_view(bytes.constData(), size_t(bytes.size())));
        EXPECT_TRUE(f.fatalError.empty()) << name.toStdString();
        EXPECT_FALSE(f.messages.empty()) << name.toStdString();
        const int lines = bytes.count('\n') + 1;
        for (const DbcProblem& p : f.problems) {
            EXPECT_GT(p.line, 0) << name.toStdString() << ": " << p.text;
            EXPECT_LE(p.line, lines);
        }
        // Counted with grep: the pseudo message is the only one dropped.
        const int declared = bytes.count("\nBO_ ") - bytes.count("VECTOR__INDEPENDENT_SIG_MSG:");
        EXPECT_EQ(int(f.messages.size()), declared) << name.toStdString();
        messages += f.messages.size();
        signalCount += f.signalCount();
    }
    EXPECT_GT(messages, 600u);
    EXPECT_GT(signalCount, 3500u);
}

} // namespace
