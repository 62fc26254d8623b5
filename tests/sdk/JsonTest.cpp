// KeloJson reads the common documents itself and hands every other text to the document parser
// (QJsonDocument); it writes most values itself. Both ways are held to one table of cases, and to
// what the document classes give for the same text or value.
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "CMError.h"
#include "CMPath.h"
#include "KeloJson.h"
#include "KeloJson_p.h"
#include "KeloValue.h"

namespace {

// Every value with its type, keys sorted: equal texts are equal values of equal types at every depth
// (a plain == takes 1 and 1.0 and "1" for the same). Objects are objects, whichever kind of map holds them.
QString typed(const QVariant& value)
{
    QStringList parts;
    if (value.userType() == QMetaType::QVariantList) {
        for (const QVariant& v : value.toList())
            parts << typed(v);
        return "[" + parts.join(',') + "]";
    }
    if (value.userType() != QMetaType::QVariantHash && value.userType() != QMetaType::QVariantMap)
        return QString(value.typeName()) + ":" + value.toString();
    const QVariantHash hash = value.toHash();
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        parts << it.key() + "=" + typed(it.value());
    parts.sort();
    return "{" + parts.join(',') + "}";
}

// What the document parser alone gives for a text; invalid when it refuses the text.
QVariant documentParse(const QByteArray& text)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson("[" + text + "]", &error);
    if (error.error != QJsonParseError::NoError || doc.array().size() != 1)
        return QVariant();
    return KeloJson::normalize(doc.array().at(0).toVariant());
}

QByteArray documentWrite(const QVariant& value)
{
    const QByteArray wrapped = QJsonDocument(QJsonArray{QJsonValue::fromVariant(value)}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

enum Reader { Direct, Document, Invalid };
struct ReadCase
{
    // expected is left out where the document parser's own reading is the answer.
    ReadCase(const QByteArray& t, Reader r, const QVariant& e = {}) : text(t), reader(r), expected(e) {}
    QByteArray text;
    Reader reader;
    QVariant expected;
};

const QVariant null = QVariant::fromValue(nullptr);

std::vector<ReadCase> readCases()
{
    const QByteArray deepest = QByteArray(256, '[') + QByteArray(256, ']');
    return {
        {"7", Direct, 7}, {" -0 ", Direct, 0}, {"2147483647", Direct, 2147483647},
        {"2147483648", Direct, qlonglong(2147483648)}, {"-2147483649", Direct, qlonglong(-2147483649)},
        {"999999999999999", Direct, qlonglong(999999999999999)},
        {"\"New name\"", Direct, "New name"}, {"\ttrue\r\n", Direct, true}, {"false", Direct, false},
        {"null", Direct, null}, {R"("\"\\\/\b\f\n\r\t")", Direct, "\"\\/\b\f\n\r\t"},
        {"\"\xc2\xa0\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\"", Direct, QString::fromUtf8("\u00a0\u00e9\u20ac\U0001F600")},
        {R"({"b": [1, {"": "x"}, []], "a": {}, "k\n": null})", Direct,
         QVariantHash{{"b", QVariantList{1, QVariantHash{{"", "x"}}, QVariantList()}}, {"a", QVariantHash()}, {"k\n", null}}},
        {"[1,2]", Direct, QVariantList{1, 2}}, {deepest, Direct}, {"\"" + QByteArray(5000, 'a') + "\"", Direct},
        {"2.5", Document, 2.5}, {"3.0", Document, 3}, {"1e3", Document, 1000}, {"-1E2", Document, -100},
        {"1.", Document, 1}, {".5", Document, 0.5}, {"9999999999999999", Document, qlonglong(9999999999999999)},
        {"\"a\x01\"", Document, "a\x01"}, {R"("\x")", Document},
        {"-9223372036854775808", Document, std::numeric_limits<qlonglong>::min()},
        {"9223372036854775807", Document}, {R"({"a": 1, "a": 2})", Document}, {"\"\xef\xbf\xbe\"", Document},
        {"\"\\u00e9\\ud83d\\ude00\"", Document, QString::fromUtf8("\u00e9\U0001F600")},
        {"[" + deepest + "]", Document},
        {"", Invalid}, {"{", Invalid}, {"1 2", Invalid}, {"[1],[2]", Invalid}, {R"({"a":})", Invalid},
        {"nul", Invalid}, {"'x'", Invalid}, {"[,]", Invalid}, {"[1,]", Invalid}, {"01", Invalid},
        {"-", Invalid}, {"+1", Invalid}, {"1e", Invalid},
        {"\"\x80\"", Invalid}, {"\"\xed\xa0\x80\"", Invalid}, {"\"\xf4\x90\x80\x80\"", Invalid},
        {"\"abc", Invalid}, {QByteArray(1100, '[') + QByteArray(1100, ']'), Invalid},
    };
}

}  // namespace

TEST(JsonReading, EveryCaseIsReadByTheRightReaderAsTheDocumentParserReadsIt)
{
    for (const ReadCase& c : readCases()) {
        SCOPED_TRACE(c.text.left(80).constData());
        bool ok = c.reader == Invalid;
        QString error;
        const QVariant value = KeloJson::parse(c.text, &ok, &error);
        EXPECT_EQ(ok, c.reader != Invalid);
        EXPECT_EQ(error.isEmpty(), ok);
        EXPECT_EQ(value.isValid(), ok);
        EXPECT_NE(value.userType(), QMetaType::QVariantMap) << "objects are read as hashes";
        QVariant direct;
        EXPECT_EQ(KeloJsonPrivate::readCommon(c.text, &direct), c.reader == Direct);
        if (c.reader == Direct) {
            EXPECT_EQ(typed(direct), typed(value));
        }
        if (ok) {
            EXPECT_EQ(typed(value), typed(documentParse(c.text)));
        }
        if (c.expected.isValid()) {
            EXPECT_EQ(typed(value), typed(c.expected));
        }
    }
}

TEST(JsonReading, DocumentsBuiltFromTheCasesAndDamagedAreReadAsTheDocumentParserReadsThem)
{
    std::vector<ReadCase> cases = readCases();
    std::mt19937 random(20261123);
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    for (int i = 0; i < 3000; ++i) {
        QByteArray text = "[";
        for (int n = pick(6); n > 0; --n)
            text += cases[pick(int(cases.size()))].text + (n > 1 ? "," : "");
        text += pick(2) ? "]" : "]\n";
        if (pick(2))
            text = "{\"x\":" + text + ",\"y\" : " + cases[pick(int(cases.size()))].text + "}";
        const int at = pick(text.size());
        if (pick(3) == 0)
            text.truncate(at);
        else if (pick(2) == 0)
            text[at] = char(pick(256));
        const QVariant expected = documentParse(text);
        bool ok = false;
        const QVariant actual = KeloJson::parse(text, &ok);
        ASSERT_EQ(ok, expected.isValid()) << text.constData();
        if (ok) {
            ASSERT_EQ(typed(actual), typed(expected)) << text.constData();
        }
        // An object read member by member gives each member's value, or leaves it to the parser.
        QHash<QString, QByteArray> members;
        if (KeloJson::members(text, std::numeric_limits<int>::max(), &members)) {
            ASSERT_TRUE(ok && actual.userType() == QMetaType::QVariantHash) << text.constData();
            ASSERT_EQ(members.size(), actual.toHash().size()) << text.constData();
            for (auto it = members.cbegin(); it != members.cend(); ++it)
                ASSERT_EQ(typed(KeloJson::parse(it.value())), typed(actual.toHash().value(it.key())));
        }
    }
}

TEST(JsonWriting, WritesCompactlyWithSortedKeysAsTheDocumentWriterDoes)
{
    for (uint unit = 0; unit <= 0xffff; ++unit) {
        const QString text = QString(QChar(ushort(unit))) + QChar(ushort(unit ^ 0x400));
        ASSERT_EQ(KeloJson::stringifyUtf8(text), documentWrite(text)) << unit;
    }
    for (const ReadCase& c : readCases()) {
        if (c.reader == Invalid)
            continue;
        const QVariant value = KeloJson::parse(c.text);
        EXPECT_EQ(KeloJson::stringifyUtf8(value), documentWrite(value)) << c.text.left(80).constData();
        if (c.reader == Direct) {
            EXPECT_EQ(typed(KeloJson::parse(KeloJson::stringifyUtf8(value))), typed(value));
        }
    }
    const std::vector<std::pair<QVariant, QString>> written{
        {QVariantHash{{"b", 1}, {"a", QVariantList{-1, "x", true, QVariant()}}}, R"({"a":[-1,"x",true,null],"b":1})"},
        {QVariantMap{{"m", 2.5}, {"l", QVariantMap()}}, R"({"l":{},"m":2.5})"},
        {"say \"hi\"", R"("say \"hi\"")"},
        {QVariant::fromValue(CMPath("a:b?x=1")), R"("a:b?x=1")"},
        {QVariantHash{{"p", QVariant::fromValue(KeloValue::fromI32(3))}}, R"({"p":{"i32_":3,"type":"i32_"}})"},
        {QVariant::fromValue(CMError(CMError::NotFoundName(), "No")), R"({"message":"No","name":"NotFound","title":"Error"})"},
    };
    for (const auto& [value, text] : written)
        EXPECT_EQ(KeloJson::stringify(value), text);
    const QVariantHash error = KeloJson::parse(written.back().second.toUtf8()).toHash();
    EXPECT_EQ(CMError::fromVariantHash(error).toVariantHash(), error);
    EXPECT_TRUE(CMError::fromVariantHash({{"name", 5}, {"message", QVariant()}}).isNull());
}

TEST(JsonNormalizing, TurnsWholeNumbersIntoIntsAtAnyDepth)
{
    const QVariant v = KeloJson::normalize(QVariantHash{{"l", QVariantList{5.0, 2.5, 1e10, QVariantMap{{"m", -3.0}}}}});
    EXPECT_EQ(typed(v), typed(QVariantHash{{"l", QVariantList{5, 2.5, qlonglong(1e10), QVariantMap{{"m", -3}}}}}));
}
