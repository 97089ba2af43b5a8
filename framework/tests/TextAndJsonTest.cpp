#include "core/Logger.h"
#include "services/LocaleManager.h"
#include "services/VxJson.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

TEST(LocaleManager, TitlesFileUnderTheirCapitalAccentsDroppedAndTheRestUnderHash)
{
    const struct {
        const char* title;
        QChar expected;
    } cases[] = {
        {"speed", 'S'}, {"Speed", 'S'}, {"\xC3\xA9tat", 'E'}, {"\xC3\x85ngstr\xC3\xB6m", 'A'},
        {"\xD0\xB4\xD0\xB0\xD1\x82\xD1\x87\xD0\xB8\xD0\xBA", QChar(0x0414)},  // Cyrillic d, filed under its capital
        {"\xCE\xB1\xCE\xB2", QChar(0x0391)},                                  // Greek alpha
        {"12V_Battery", '#'}, {"_Reserved", '#'}, {" Blank", '#'}, {"", '#'},
        {"\xE9\x80\x9F\xE5\xBA\xA6", '#'},  // CJK: no capitals to file under
        {"\xC3\x9F", QChar(0x00DF)},        // sharp s has no single capital
    };
    for (const auto& c : cases) {
        const QString title = QString::fromUtf8(c.title);
        EXPECT_EQ(LocaleManager::groupingCharForTitle(title), c.expected) << c.title;
        EXPECT_EQ(LocaleManager::groupingStringForTitle(title), QString(c.expected)) << c.title;
    }
}

TEST(VxJsonParser, ObjectsAndArraysBecomeVariantsAndBadTextIsRefusedQuietlyWhenAsked)
{
    CapturingLogSink log;
    bool ok = false;
    const QVariant object = VxJson::Parser::parse(R"({"a": ["x", 2], "b": {"c": true}})", &ok, false);
    ASSERT_TRUE(ok);
    EXPECT_EQ(object.type(), QVariant::Map);
    EXPECT_EQ(object.toMap().value("a").toList(), QVariantList({"x", 2.0}));
    EXPECT_TRUE(object.toMap().value("b").toMap().value("c").toBool());
    EXPECT_EQ(VxJson::Parser::parse("[1]", &ok, false).type(), QVariant::List);
    EXPECT_TRUE(ok);

    // Escapes, numbers, literals, and a repeated key whose last value counts.
    const QVariantMap map = VxJson::Parser::parse(
        R"({"s": "a\"\\\/\n\u00e9\ud83d\ude97\udc00", "n": [-0.5e2, 0, 1E3], "l": [true, false, null],
            "k": [1], "k": {"x": "y"}})", &ok, false).toMap();
    ASSERT_TRUE(ok);
    EXPECT_EQ(map.value("s").toString(), QString::fromUtf8("a\"\\/\n\xC3\xA9\xF0\x9F\x9A\x97\xEF\xBF\xBD"));
    EXPECT_EQ(map.value("n").toList(), QVariantList({-50.0, 0.0, 1000.0}));
    EXPECT_EQ(map.value("l").toList(), QVariantList({true, false, QVariant()}));
    EXPECT_EQ(map.value("k").toMap().value("x").toString(), "y");

    const QByteArray deep = QByteArray(10000, '[') + QByteArray(10000, ']');
    for (const QByteArray& bad : {QByteArray("{\"a\": }"), QByteArray("not json"), QByteArray(), deep, QByteArray("[01]"),
                                  QByteArray("[1e400]"), QByteArray("[1.]"), QByteArray("{} x"), QByteArray("\"text\""),
                                  QByteArray("[\"tab\there\"]"), QByteArray("[\"\\q\"]"), QByteArray("{\"a\" 1}"),
                                  QByteArray("[tru]")}) {
        ok = true;
        EXPECT_FALSE(VxJson::Parser::parse(bad, &ok, false).isValid());
        EXPECT_FALSE(ok);
    }
    EXPECT_TRUE(log.lines().isEmpty());
    VxJson::Parser::parse("{", &ok);
    ASSERT_EQ(log.records().size(), 1);
    EXPECT_EQ(log.lines().first(), "WARN JSON text not read at offset 1 : expected a key");
}
