#include "services/VxJson.h"

#include "core/Logger.h"

#include <QVariantList>
#include <QVariantMap>

#include <cmath>

namespace VxJson {

namespace {

constexpr int MaxDepth = 1024;

// Recursive descent over RFC 8259 text. Duplicate keys: the last one counts.
class Reader {
public:
    explicit Reader(const QByteArray& text)
        : mAt(text.constData())
        , mBegin(text.constData())
        , mEnd(text.constData() + text.size())
    {
    }

    bool document(QVariant* out)
    {
        skipBlanks();
        if (mAt == mEnd || (*mAt != '{' && *mAt != '['))
            return fail("an object or an array");
        if (!value(out, 0))
            return false;
        skipBlanks();
        return mAt == mEnd || fail("the end of the text");
    }

    qint64 offset() const { return mAt - mBegin; }
    const char* expected() const { return mExpected; }

private:
    bool fail(const char* expected)
    {
        mExpected = expected;
        return false;
    }

    void skipBlanks()
    {
        while (mAt != mEnd && (*mAt == ' ' || *mAt == '\t' || *mAt == '\n' || *mAt == '\r'))
            ++mAt;
    }

    bool literal(const char* word)
    {
        for (const char* w = word; *w; ++w, ++mAt) {
            if (mAt == mEnd || *mAt != *w)
                return fail(word);
        }
        return true;
    }

    bool value(QVariant* out, int depth)
    {
        skipBlanks();
        if (mAt == mEnd)
            return fail("a value");
        switch (*mAt) {
        case '{':
            return object(out, depth + 1);
        case '[':
            return array(out, depth + 1);
        case '"': {
            QString s;
            if (!string(&s))
                return false;
            *out = s;
            return true;
        }
        case 't':
            *out = true;
            return literal("true");
        case 'f':
            *out = false;
            return literal("false");
        case 'n':
            *out = QVariant();
            return literal("null");
        default:
            return number(out);
        }
    }

    bool object(QVariant* out, int depth)
    {
        if (depth > MaxDepth)
            return fail("less nesting");
        ++mAt;
        QVariantMap map;
        skipBlanks();
        if (mAt != mEnd && *mAt == '}') {
            ++mAt;
            *out = map;
            return true;
        }
        for (;;) {
            skipBlanks();
            QString key;
            if (mAt == mEnd || *mAt != '"')
                return fail("a key");
            if (!string(&key))
                return false;
            skipBlanks();
            if (mAt == mEnd || *mAt != ':')
                return fail("':'");
            ++mAt;
            QVariant v;
            if (!value(&v, depth))
                return false;
            map.insert(key, v);
            skipBlanks();
            if (mAt != mEnd && *mAt == ',') {
                ++mAt;
                continue;
            }
            if (mAt != mEnd && *mAt == '}') {
                ++mAt;
                *out = map;
                return true;
            }
            return fail("',' or '}'");
        }
    }

    bool array(QVariant* out, int depth)
    {
        if (depth > MaxDepth)
            return fail("less nesting");
        ++mAt;
        QVariantList list;
        skipBlanks();
        if (mAt != mEnd && *mAt == ']') {
            ++mAt;
            *out = list;
            return true;
        }
        for (;;) {
            QVariant v;
            if (!value(&v, depth))
                return false;
            list.append(v);
            skipBlanks();
            if (mAt != mEnd && *mAt == ',') {
                ++mAt;
                continue;
            }
            if (mAt != mEnd && *mAt == ']') {
                ++mAt;
                *out = list;
                return true;
            }
            return fail("',' or ']'");
        }
    }

    bool hex4(uint* out)
    {
        uint v = 0;
        for (int i = 0; i < 4; ++i, ++mAt) {
            if (mAt == mEnd)
                return fail("four hex digits");
            const char c = *mAt;
            const int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
            if (d < 0)
                return fail("four hex digits");
            v = v * 16 + uint(d);
        }
        *out = v;
        return true;
    }

    bool string(QString* out)
    {
        ++mAt;
        QByteArray utf8;
        for (;;) {
            if (mAt == mEnd)
                return fail("'\"'");
            const unsigned char c = uchar(*mAt);
            if (c == '"') {
                ++mAt;
                break;
            }
            if (c < 0x20)
                return fail("no control characters in a string");
            if (c != '\\') {
                utf8.append(char(c));
                ++mAt;
                continue;
            }
            ++mAt;
            if (mAt == mEnd)
                return fail("an escape");
            const char e = *mAt++;
            switch (e) {
            case '"': utf8.append('"'); break;
            case '\\': utf8.append('\\'); break;
            case '/': utf8.append('/'); break;
            case 'b': utf8.append('\b'); break;
            case 'f': utf8.append('\f'); break;
            case 'n': utf8.append('\n'); break;
            case 'r': utf8.append('\r'); break;
            case 't': utf8.append('\t'); break;
            case 'u': {
                uint code = 0;
                if (!hex4(&code))
                    return false;
                // A lone half of a surrogate pair stands for itself as U+FFFD.
                if (code >= 0xD800 && code < 0xDC00 && mEnd - mAt >= 6 && mAt[0] == '\\' && mAt[1] == 'u') {
                    const char* back = mAt;
                    mAt += 2;
                    uint low = 0;
                    if (!hex4(&low))
                        return false;
                    if (low >= 0xDC00 && low < 0xE000)
                        code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    else
                        mAt = back;
                }
                if (code >= 0xD800 && code < 0xE000)
                    code = 0xFFFD;
                const char32_t wide = char32_t(code);
                utf8.append(QString::fromUcs4(&wide, 1).toUtf8());
                break;
            }
            default:
                return fail("an escape");
            }
        }
        *out = QString::fromUtf8(utf8);
        return true;
    }

    bool number(QVariant* out)
    {
        const char* start = mAt;
        const auto digits = [this] {
            const char* from = mAt;
            while (mAt != mEnd && *mAt >= '0' && *mAt <= '9')
                ++mAt;
            return mAt != from;
        };
        if (mAt != mEnd && *mAt == '-')
            ++mAt;
        if (mAt != mEnd && *mAt == '0')
            ++mAt;
        else if (!digits())
            return fail("a value");
        if (mAt != mEnd && *mAt == '.') {
            ++mAt;
            if (!digits())
                return fail("digits after '.'");
        }
        if (mAt != mEnd && (*mAt == 'e' || *mAt == 'E')) {
            ++mAt;
            if (mAt != mEnd && (*mAt == '+' || *mAt == '-'))
                ++mAt;
            if (!digits())
                return fail("an exponent");
        }
        // Not strtod: the user's locale must not turn "1.5" into 1.
        bool converted = false;
        const double v = QByteArray(start, int(mAt - start)).toDouble(&converted);
        if (!converted || !std::isfinite(v))
            return fail("a number a double can hold");
        *out = v;
        return true;
    }

    const char* mAt;
    const char* mBegin;
    const char* mEnd;
    const char* mExpected = "";
};

} // namespace

QVariant Parser::parse(const QByteArray& json, bool* ok, bool logErrors)
{
    Reader reader(json);
    QVariant out;
    const bool parsed = reader.document(&out);
    if (ok)
        *ok = parsed;
    if (!parsed) {
        if (logErrors)
            Logger(nullptr, "WARN") << "JSON text not read at offset" << reader.offset() << ": expected" << reader.expected();
        return QVariant();
    }
    return out;
}

} // namespace VxJson
