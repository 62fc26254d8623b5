#include <gtest/gtest.h>

#include "CMError.h"
#include "KeloJson.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"

namespace {

QVariantHash parseObject(const char* text)
{
    bool ok = false;
    QString error;
    const QVariant v = KeloJson::parse(QString::fromUtf8(text), &ok, &error);
    EXPECT_TRUE(ok) << text << ": " << qPrintable(error);
    return v.toHash();
}

// Writes the record's hash and reads it back, as it goes through the HTTP API.
QVariantHash throughJson(const KeloHash& record)
{
    bool ok = false;
    const QVariant v = KeloJson::parse(KeloJson::stringify(record.toVariant()), &ok);
    EXPECT_TRUE(ok);
    return v.toHash();
}

}  // namespace

TEST(JsonParsing, GivesPlainVariantsForEveryKindOfValue)
{
    EXPECT_EQ(KeloJson::parse(QString("7")).userType(), QMetaType::Int);
    EXPECT_EQ(KeloJson::parse(QString("3.0")).userType(), QMetaType::Int);
    EXPECT_EQ(KeloJson::parse(QString("2.5")), QVariant(2.5));
    EXPECT_EQ(KeloJson::parse(QString("12345678901234")).userType(), QMetaType::LongLong);
    EXPECT_EQ(KeloJson::parse(QString("\"New name\"")), QVariant("New name"));
    EXPECT_EQ(KeloJson::parse(QString("true")).userType(), QMetaType::Bool);
    bool ok = false;
    EXPECT_TRUE(KeloJson::parse(QString("null"), &ok).isNull());
    EXPECT_TRUE(ok);

    const QVariant nested = KeloJson::parse(QByteArray(R"({"a": [1, {"b": 2.0}], "c": "\u00e9"})"));
    ASSERT_EQ(nested.userType(), QMetaType::QVariantHash);
    const QVariantList a = nested.toHash().value("a").toList();
    ASSERT_EQ(a.size(), 2);
    EXPECT_EQ(a.at(0).userType(), QMetaType::Int);
    EXPECT_EQ(a.at(1).toHash().value("b").userType(), QMetaType::Int);
    EXPECT_EQ(nested.toHash().value("c"), QVariant(QString::fromUtf8("\u00e9")));
}

TEST(JsonParsing, ReportsSyntaxErrorsWithoutAValue)
{
    for (const char* text : {"", "{", "1 2", "[1],[2]", "{\"a\":}", "nul", "'x'"}) {
        bool ok = true;
        QString error;
        EXPECT_FALSE(KeloJson::parse(QString(text), &ok, &error).isValid()) << text;
        EXPECT_FALSE(ok) << text;
        EXPECT_FALSE(error.isEmpty()) << text;
    }
}

TEST(JsonWriting, IsCompactAndWritesPathsAsText)
{
    EXPECT_EQ(KeloJson::stringify(QVariantHash{{"a", 1}}), R"({"a":1})");
    EXPECT_EQ(KeloJson::stringify(QVariantList{1, "x", true, QVariant()}), R"([1,"x",true,null])");
    EXPECT_EQ(KeloJson::stringify("say \"hi\""), R"("say \"hi\"")");
    EXPECT_EQ(KeloJson::stringify(QVariant::fromValue(CMPath("a:b?x=1"))), R"("a:b?x=1")");
    EXPECT_EQ(KeloJson::stringify(QVariantHash{{"p", QVariant::fromValue(KeloValue::fromI32(3))}}),
              R"({"p":{"i32_":3,"type":"i32_"}})");
}

TEST(JsonNormalizing, TurnsWholeNumbersIntoIntsAtAnyDepth)
{
    const QVariant v = KeloJson::normalize(QVariantHash{{"l", QVariantList{5.0, 2.5, 1e10, QVariantMap{{"m", -3.0}}}}});
    const QVariantList l = v.toHash().value("l").toList();
    EXPECT_EQ(l.at(0).userType(), QMetaType::Int);
    EXPECT_EQ(l.at(1), QVariant(2.5));
    EXPECT_EQ(l.at(2).userType(), QMetaType::LongLong);
    EXPECT_EQ(l.at(3).toMap().value("m").userType(), QMetaType::Int);
}

TEST(JsonRecordForms, KeloValuesReadTheirOwnTypeOnly)
{
    const KeloValue i32 = KeloHash(parseObject(R"({"type": "i32_", "i32_": 5})"));
    const KeloValue flag = KeloHash(parseObject(R"({"type": "bool_", "bool_": true})"));
    const KeloValue text = KeloHash(parseObject(R"({"type": "string_", "string_": "Mix"})"));
    const KeloValue power = KeloHash(parseObject(R"({"type": "powerTarget", "powerTarget": {"target": 2}})"));
    EXPECT_EQ(i32.i32_(), 5);
    EXPECT_TRUE(flag.bool_());
    EXPECT_EQ(text.string_(), "Mix");
    EXPECT_EQ(power.powerTarget().target(), KeloPowerManagerTarget::NetworkStandby);
    for (const KeloValue& v : {i32, flag, text, power}) {
        EXPECT_TRUE(v.isWellFormed()) << qPrintable(KeloJson::stringify(v.toVariant()));
        EXPECT_EQ(KeloValue(KeloHash(throughJson(v))), v);
    }
    EXPECT_EQ(text.i32_(), 0);
    EXPECT_FALSE(i32.bool_());
    EXPECT_TRUE(i32.string_().isEmpty());
    EXPECT_EQ(i32.powerTarget().target(), 0);
}

TEST(JsonRecordForms, MalformedKeloValuesAreRecognised)
{
    for (const char* text : {R"({"type": "i32_", "i32_": "5"})", R"({"type": "i32_", "i32_": 5.5})",
                             R"({"type": "bool_", "bool_": 1})", R"({"type": "string_"})",
                             R"({"type": "powerTarget", "powerTarget": 2})", R"({"type": "i64_", "i64_": 5})",
                             R"({"i32_": 5})"}) {
        const KeloValue v = KeloHash(parseObject(text));
        EXPECT_FALSE(v.isWellFormed()) << text;
        EXPECT_EQ(v.i32_(), 0) << text;
    }
}

TEST(JsonRecordForms, RolesKeepEveryKeyIncludingUnknownOnes)
{
    const KeloRoles roles = KeloHash(parseObject(R"({
        "title": "Track", "path": "media:track/12?x=%26", "type": 3, "containerType": 100,
        "containerPlayable": true, "modifiable": false, "value": {"type": "i32_", "i32_": 4},
        "context": {"title": "Menu", "path": "playlists:pl/trackcontextmenu"},
        "mediaData": {"resources": [{"uri": "file:///a.mp3", "mimeType": "audio/mpeg"}, 7],
                      "metaData": {"playLogicPath": "playlists:playlogic", "prePlayPath": "media:prepare",
                                   "AllowSeekTime": true, "AllowSeekBytes": false}},
        "id": "12", "vimboClearQueue": "yes", "artist": "A", "album": "B", "duration": 215,
        "custom": {"kept": [1, 2]}})"));
    EXPECT_EQ(roles.path().parameter("x"), "&");
    EXPECT_EQ(roles.containerType(), 100);
    EXPECT_EQ(roles.value().i32_(), 4);
    EXPECT_EQ(roles.context().path(), CMPath("playlists:pl/trackcontextmenu"));
    const QList<KeloMediaResource> resources = roles.mediaData().resources();
    ASSERT_EQ(resources.size(), 1);
    EXPECT_EQ(resources.at(0).mimeType(), "audio/mpeg");
    const KeloMetaData meta = roles.mediaData().metaData();
    EXPECT_EQ(meta.playLogicPath(), CMPath("playlists:playlogic"));
    EXPECT_TRUE(meta.hasAllowSeekBytes());
    EXPECT_TRUE(meta.allowSeekTime());
    EXPECT_FALSE(meta.allowSeekBytes());
    EXPECT_EQ(roles.duration(), 215);
    EXPECT_EQ(KeloRoles(KeloHash(throughJson(roles))), roles);
    EXPECT_EQ(roles.get("custom").toHash().value("kept"), QVariant(QVariantList{1, 2}));
}

TEST(JsonRecordForms, AnActionReplyCarriesItsEventsOnlyWhenThereAreSome)
{
    KeloActionReply reply;
    reply.setXclass("KeloActionReply");
    KeloRoles result;
    result.setValue(KeloValue::fromI32(7));
    reply.setResult(result);
    EXPECT_EQ(KeloJson::stringify(reply.toVariant()).contains("events"), false);

    KeloEvent event;
    event.setRowsType(1);
    event.setPath(CMPath("playlists:pl/getitems/5"));
    reply.appendEvent(event);
    event.setPath(CMPath("playlists:pl/getlist"));
    reply.appendEvent(event);

    const KeloActionReply read(KeloHash(throughJson(reply)));
    EXPECT_EQ(read.xclass(), "KeloActionReply");
    EXPECT_EQ(read.result().value().i32_(), 7);
    ASSERT_EQ(read.events().size(), 2);
    EXPECT_EQ(read.events().at(0).path(), CMPath("playlists:pl/getitems/5"));
    EXPECT_EQ(read.events().at(1).rowsType(), 1);

    reply.setEvents({});
    EXPECT_FALSE(reply.contains("events"));
}

TEST(JsonRecordForms, APlayListItemAndAnErrorRoundTrip)
{
    KeloPlayListItem item = KeloHash(parseObject(R"({
        "sequenceNumber": 2, "uid": 17, "title": "T", "artist": "A", "album": "B", "artworkUrl": "http://x/a.jpg",
        "genre": "G", "durationSeconds": 180, "url": "file:///t.flac", "serviceId": "local",
        "keloRoles": "{\"title\":\"T\",\"type\":3}"})"));
    EXPECT_EQ(item.durationSeconds(), 180);
    EXPECT_EQ(KeloRoles(KeloHash(KeloJson::parse(item.keloRoles()).toHash())).type(), 3);
    EXPECT_EQ(KeloPlayListItem(KeloHash(throughJson(KeloHash(item.hash())))), item);

    const CMError error(CMError::NotFoundName(), "No such playlist");
    const QVariantHash written = throughJson(KeloHash(error.toVariantHash()));
    EXPECT_EQ(written, (QVariantHash{{"name", "NotFound"}, {"message", "No such playlist"}, {"title", "Error"}}));
    EXPECT_EQ(CMError::fromVariantHash(written).toVariantHash(), written);
    EXPECT_TRUE(CMError::fromVariantHash({{"name", 5}, {"message", QVariant()}}).isNull());
}
