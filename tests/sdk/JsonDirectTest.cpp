// KeloJson reads and writes the common documents itself; these tests hold it to what the document
// classes (QJsonDocument) give for the same text or value, over many generated documents.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <limits>
#include <random>

#include "KeloJson.h"

namespace {

// What KeloJson::parse gave when every document went through QJsonDocument.
QVariant fromDocumentValue(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Object: {
        QVariantHash hash;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            hash.insert(it.key(), fromDocumentValue(it.value()));
        return hash;
    }
    case QJsonValue::Array: {
        QVariantList list;
        for (const QJsonValue& v : value.toArray())
            list.append(fromDocumentValue(v));
        return list;
    }
    case QJsonValue::Double:
        return KeloJson::normalize(value.toVariant());
    default:
        return value.toVariant();
    }
}

bool documentParse(const QByteArray& text, QVariant* out)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson("[" + text + "]", &error);
    if (error.error != QJsonParseError::NoError || doc.array().size() != 1)
        return false;
    *out = fromDocumentValue(doc.array().at(0));
    return true;
}

QByteArray documentWrite(const QVariant& value)
{
    const QByteArray wrapped =
        QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

// Equal values of equal types, at every depth (a plain == takes 1 and 1.0 and "1" for the same).
::testing::AssertionResult sameVariant(const QVariant& a, const QVariant& b)
{
    if (a.userType() != b.userType())
        return ::testing::AssertionFailure() << a.typeName() << " vs " << b.typeName();
    if (a.userType() == QMetaType::QVariantHash) {
        const QVariantHash ha = a.toHash();
        const QVariantHash hb = b.toHash();
        if (ha.size() != hb.size())
            return ::testing::AssertionFailure() << "keys differ";
        for (auto it = ha.cbegin(); it != ha.cend(); ++it) {
            auto r = hb.contains(it.key()) ? sameVariant(it.value(), hb.value(it.key()))
                                           : ::testing::AssertionFailure() << "no key";
            if (!r)
                return r << " at " << qPrintable(it.key());
        }
        return ::testing::AssertionSuccess();
    }
    if (a.userType() == QMetaType::QVariantList) {
        const QVariantList la = a.toList();
        const QVariantList lb = b.toList();
        if (la.size() != lb.size())
            return ::testing::AssertionFailure() << "lengths differ";
        for (int i = 0; i < la.size(); ++i) {
            auto r = sameVariant(la.at(i), lb.at(i));
            if (!r)
                return r << " at [" << i << "]";
        }
        return ::testing::AssertionSuccess();
    }
    if (a != b)
        return ::testing::AssertionFailure() << qPrintable(a.toString()) << " vs " << qPrintable(b.toString());
    return ::testing::AssertionSuccess();
}

// Generates JSON texts that reach every branch of a reader: odd spacing, every escape, multi-byte
// and invalid UTF-8, numbers of every form, repeated keys, deep nesting.
class TextGenerator
{
public:
    explicit TextGenerator(unsigned seed) : m_random(seed) {}

    QByteArray document() { return space() + value(0) + space(); }

    QByteArray mutated(QByteArray text)
    {
        const int changes = pick(3) + 1;
        for (int i = 0; i < changes && !text.isEmpty(); ++i) {
            const int at = pick(text.size());
            switch (pick(3)) {
            case 0:
                text[at] = static_cast<char>(pick(256));
                break;
            case 1:
                text.remove(at, 1);
                break;
            default:
                text.truncate(at);
            }
        }
        return text;
    }

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_random); }

    QByteArray space()
    {
        static const char* spaces[] = {"", "", "", " ", "\n  ", "\t", "\r\n"};
        return spaces[pick(7)];
    }

    QByteArray value(int depth)
    {
        const int kind = depth > 6 ? 2 + pick(4) : pick(6);
        switch (kind) {
        case 0:
            return object(depth);
        case 1:
            return array(depth);
        case 2:
        case 3:
            return string();
        case 4:
            return number();
        default: {
            static const char* words[] = {"true", "false", "null"};
            return words[pick(3)];
        }
        }
    }

    QByteArray object(int depth)
    {
        QByteArray text = "{" + space();
        const int members = pick(5);
        static const char* keys[] = {"\"a\"", "\"title\"", "\"\"", "\"k\\n\"", "\"\xc3\xa9\"", "\"\xf0\x9f\x98\x80\""};
        for (int i = 0; i < members; ++i)
            text += (i ? "," + space() : QByteArray()) + keys[pick(6)] + space() + ":" + space() + value(depth + 1);
        return text + space() + "}";
    }

    QByteArray array(int depth)
    {
        QByteArray text = "[" + space();
        const int elements = pick(depth == 0 ? 40 : 5);
        for (int i = 0; i < elements; ++i)
            text += (i ? "," + space() : QByteArray()) + value(depth + 1);
        return text + space() + "]";
    }

    QByteArray string()
    {
        static const char* pieces[] = {
            "abc", " ", "\\\"", "\\\\", "\\/", "\\b\\f\\n\\r\\t", "\\u00e9", "\\ud83d\\ude00", "\\ud800", "\\u0041",
            "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "\xef\xbf\xbe", "\xef\xb7\x90", "\xc0\xaf", "\xed\xa0\x80",
            "\xf4\x90\x80\x80", "\x80", "\x7f", "\x01", "\t", "\\x", "{\\\"json\\\":1}"};
        QByteArray text = "\"";
        const int count = pick(4);
        for (int i = 0; i < count; ++i)
            text += pieces[pick(24)];
        return text + "\"";
    }

    QByteArray number()
    {
        static const char* numbers[] = {"0",   "-0",   "7",  "-12", "2147483647", "2147483648", "-2147483649",
                                        "999999999999999",  "9999999999999999", "123456789012345678901", "01",
                                        "1.5", "2.0",  "1e3", "1E-2", "-", "1.", ".5", "+1", "1e", "-0.0"};
        return numbers[pick(21)];
    }

    std::mt19937 m_random;
};

QVariant randomValue(std::mt19937& random, int depth)
{
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    auto text = [&]() {
        QString s;
        const int length = pick(6);
        for (int i = 0; i < length; ++i) {
            static const ushort units[] = {'a', '"', '\\', '/', 0x01, 0x1f, 0x7f, 0xe9, 0x20ac, 0xd83d, 0xde00, 0xfffd};
            s.append(QChar(units[pick(12)]));
        }
        return s;
    };
    switch (depth > 3 ? 2 + pick(6) : pick(8)) {
    case 0: {
        QVariantHash hash;
        for (int i = pick(5); i > 0; --i)
            hash.insert(text(), randomValue(random, depth + 1));
        return hash;
    }
    case 1: {
        QVariantList list;
        for (int i = pick(5); i > 0; --i)
            list.append(randomValue(random, depth + 1));
        return list;
    }
    case 2:
        return text();
    case 3:
        return static_cast<int>(random());
    case 4:
        return pick(2) == 0;
    case 5:
        return QVariant();
    case 6:
        return std::uniform_real_distribution<double>(-1e22, 1e22)(random) / std::pow(10.0, pick(30));
    default: {
        QVariantMap map;
        for (int i = pick(4); i > 0; --i)
            map.insert(text(), randomValue(random, depth + 1));
        return map;
    }
    }
}

}  // namespace

TEST(JsonDirectReading, ReadsEveryDocumentAsTheDocumentParserDoes)
{
    TextGenerator generator(20261123);
    for (int i = 0; i < 4000; ++i) {
        const QByteArray valid = generator.document();
        for (const QByteArray& text : {valid, generator.mutated(valid)}) {
            QVariant expected;
            const bool expectedOk = documentParse(text, &expected);
            bool ok = !expectedOk;
            const QVariant actual = KeloJson::parse(text, &ok);
            ASSERT_EQ(ok, expectedOk) << text.constData();
            if (ok) {
                ASSERT_TRUE(sameVariant(actual, expected)) << text.constData();
            }
            // An object read member by member gives each member's value, or leaves it to the parser.
            QHash<QString, QByteArray> members;
            if (KeloJson::members(text, std::numeric_limits<int>::max(), &members)) {
                ASSERT_TRUE(ok && expected.type() == QVariant::Hash) << text.constData();
                ASSERT_EQ(members.size(), expected.toHash().size()) << text.constData();
                for (auto it = members.cbegin(); it != members.cend(); ++it)
                    ASSERT_TRUE(sameVariant(KeloJson::parse(it.value()), expected.toHash().value(it.key())));
            }
        }
    }
}

TEST(JsonDirectWriting, WritesEveryTextAndValueAsTheDocumentWriterDoes)
{
    for (uint unit = 0; unit <= 0xffff; ++unit) {
        const QString text = QString(QChar(ushort(unit))) + QChar(ushort(unit ^ 0x400));
        ASSERT_EQ(KeloJson::stringifyUtf8(text), documentWrite(text)) << unit;
    }
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const QVariant value = randomValue(random, 0);
        ASSERT_EQ(KeloJson::stringifyUtf8(value), documentWrite(value));
    }
}
