// The direct reader scans a text several bytes at a time: whatever ends, escapes or breaks a text is
// found wherever it falls in those bytes, and the text's length and the body's value count come out
// as a byte-by-byte reading gives them.
#include <gtest/gtest.h>

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <limits>

#include "KeloJson.h"
#include "KeloJson_p.h"

namespace {

// What the document parser gives for a text's JSON, invalid when it refuses it.
QVariant documentParse(const QByteArray& text)
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson("[" + text + "]", &error);
    if (error.error != QJsonParseError::NoError || doc.array().size() != 1)
        return QVariant();
    return doc.array().at(0).toVariant();
}

struct Piece
{
    QByteArray json;  // as it stands inside a text's quotes
    bool direct;      // read by the direct reader, or left to the document parser
};

const std::vector<Piece>& pieces()
{
    static const std::vector<Piece> all{
        {"\\\"", true},          {"\\\\", true},      {"\\n", true},   {"\\/", true},
        {"\xc3\xa9", true},      {"\xe2\x82\xac", true}, {"\xf0\x9f\x98\x80", true},
        {"\\u0041", false},      {"\x01", false},     {"\x1f", false}, {"\x7f", true},
        {"\xc3", false},         {"\xe2\x82", false}, {"\x80", false}, {"\xed\xa0\x80", false},
    };
    return all;
}

}  // namespace

TEST(JsonScanning, APieceAnywhereInATextIsReadAsTheDocumentParserReadsIt)
{
    for (const Piece& piece : pieces()) {
        for (int before = 0; before <= 17; ++before) {
            for (int after : {0, 1, 6, 7, 8, 9}) {
                const QByteArray text = '"' + QByteArray(before, 'a') + piece.json + QByteArray(after, 'b') + '"';
                for (const QByteArray& json : {text, "[" + text + "]", text + "  ", "{" + text + ":1}"}) {
                    SCOPED_TRACE(json.toPercentEncoding().constData());
                    QVariant direct;
                    EXPECT_EQ(KeloJsonPrivate::readCommon(json, &direct), piece.direct);
                    bool ok = false;
                    const QVariant read = KeloJson::parse(json, &ok);
                    const QVariant expected = documentParse(json);
                    ASSERT_EQ(ok, expected.isValid());
                    if (ok) {
                        EXPECT_EQ(KeloJson::stringifyUtf8(read), KeloJson::stringifyUtf8(expected));
                    }
                }
            }
        }
    }
}

TEST(JsonScanning, ATextUnfinishedAtAnyByteIsDeclined)
{
    const QByteArray text = "\"abcdefgh\\\"ijk\xc3\xa9lmnopq\xf0\x9f\x98\x80rstuvwxyz\\\\\"";
    for (int cut = 1; cut < text.size(); ++cut) {
        SCOPED_TRACE(cut);
        QVariant v;
        EXPECT_FALSE(KeloJsonPrivate::readCommon(text.left(cut), &v));
        bool ok = true;
        KeloJson::parse(text.left(cut), &ok);
        EXPECT_FALSE(ok);
    }
    QVariant whole;
    ASSERT_TRUE(KeloJsonPrivate::readCommon(text, &whole));
    EXPECT_EQ(whole.toString(), QString::fromUtf8("abcdefgh\"ijk\xc3\xa9lmnopq\xf0\x9f\x98\x80rstuvwxyz\\"));
}

TEST(JsonScanning, ATextAtTheLengthLimitIsTakenAndOneUnitMoreIsNot)
{
    // Units as QString counts them: an escape is one, a four-byte character two.
    const std::vector<QByteArray> units{"a", "\\n", "\\\"", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"};
    for (const QByteArray& unit : units) {
        for (int lead = 0; lead < 9; ++lead) {
            QByteArray text = QByteArray(lead, 'x');
            for (int i = 0; i < 12; ++i)
                text += unit;
            const int length = KeloJson::parse('"' + text + '"').toString().size();
            SCOPED_TRACE((unit + " x" + QByteArray::number(lead) + " " + QByteArray::number(length)).constData());
            QHash<QString, QByteArray> members;
            EXPECT_TRUE(KeloJson::members("{\"k\":\"" + text + "\"}", length, &members));
            EXPECT_FALSE(KeloJson::members("{\"k\":\"" + text + "\"}", length - 1, &members));
            EXPECT_TRUE(members.isEmpty());
            EXPECT_FALSE(KeloJson::members("{\"" + text + "\":1}", length - 1, &members)) << "keys are texts too";
        }
    }
}

TEST(JsonScanning, MembersCountTheValuesAsAByteCountOfOpeningsAndCommasDoes)
{
    // 1 + '{' '[' '{' and three commas outside texts: an empty object counts twice, and what a
    // text holds counts for nothing.
    const QByteArray text = R"({"a": [1, {}], "b,[{": "x,[{\",{", "c": null})";
    QHash<QString, QByteArray> members;
    EXPECT_TRUE(KeloJson::members(text, std::numeric_limits<int>::max(), &members, 7));
    EXPECT_EQ(members.size(), 3);
    EXPECT_EQ(members.value("a"), "[1, {}]");
    EXPECT_FALSE(KeloJson::members(text, std::numeric_limits<int>::max(), &members, 6));
    EXPECT_TRUE(members.isEmpty());
}
