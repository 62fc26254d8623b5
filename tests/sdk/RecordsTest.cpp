// The records requests, answers and entries travel in: their accessors, JSON forms and names.
#include <cmath>
#include <gtest/gtest.h>

#include "KeloJson.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"

namespace {

KeloHash fromJsonText(const char* text)
{
    bool ok = false;
    const QVariant v = KeloJson::parse(QString::fromUtf8(text), &ok);
    EXPECT_TRUE(ok) << text;
    return KeloHash(v.toHash());
}

// Writes the record and reads it back, as it goes through the HTTP API.
template <typename Record>
Record throughJson(const Record& record)
{
    return Record(KeloHash(KeloJson::parse(KeloJson::stringifyUtf8(record.toVariant())).toHash()));
}

KeloPlayListPlId withPlid(const QVariant& plid)
{
    return KeloPlayListPlId(KeloHash({{"plid", plid}}));
}

}  // namespace

TEST(RecordAccessors, ReadWholeNumbersOfAnyTypeAndGiveTheFallbackForAnythingElse)
{
    // JSON numbers arrive as whatever type Qt picks (double, qlonglong); the accessor must not care.
    EXPECT_EQ(withPlid(5.0).plid(), 5);
    EXPECT_EQ(withPlid(qlonglong(-7)).plid(), -7);
    EXPECT_EQ(withPlid(2147483647.0).plid(), 2147483647);
    EXPECT_EQ(KeloPlayListPlId(KeloHash::fromJson(QJsonObject{{"plid", 5}})).plid(), 5);
    for (const QVariant& wrong : {QVariant("5"), QVariant(true), QVariant(5.5), QVariant(3e9), QVariant(-3e9),
                                  QVariant(qlonglong(1) << 40), QVariant(std::nan("")), QVariant(QVariantList{5}),
                                  QVariant()}) {
        EXPECT_EQ(withPlid(wrong).plid(), -1) << qPrintable(wrong.toString());
    }
    const KeloPlayListPlCreate create(KeloHash({{"name", 5}}));
    EXPECT_TRUE(create.name().isEmpty());
    KeloMetaData meta(KeloHash({{"AllowSeekTime", "true"}, {"AllowSeekBytes", 1}}));
    EXPECT_FALSE(meta.allowSeekTime());
    EXPECT_FALSE(meta.allowSeekBytes());
    EXPECT_TRUE(KeloRoles(KeloHash({{"value", "text"}})).value().isEmpty());
}

TEST(ArgumentRecords, ListsLeaveOutElementsOfTheWrongType)
{
    const KeloPlayListPlRemoveItems remove(fromJsonText(R"({"plid": 5, "items": [1, "2", 3.5, 4.0, true, null, {}, 5]})"));
    EXPECT_EQ(remove.items(), (QList<int>{1, 4, 5}));
    EXPECT_TRUE(KeloPlayListPlRemoveItems(fromJsonText(R"({"items": "1,2"})")).items().isEmpty());

    const KeloPlayListPlAddExternalItems external(
        fromJsonText(R"({"plid": 5, "items": [{"uid": 1, "title": "A"}, "media:x", 3, {"uid": 2}], "mode": "now"})"));
    const QList<KeloPlayListItem> items = external.items();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items.at(0).title(), "A");
    EXPECT_EQ(items.at(1).uid(), 2);
    EXPECT_EQ(external.mode(), KeloPlayListAddPosition::Now);

    // Read straight from its text, the record gives what its hash gives, wrong types included.
    const char* text = R"({"plid": 5, "items": [{"uid": "7", "title": 5, "artist": null, "url": "a\"b",
        "durationSeconds": true, "extra": [1]}, "x", {"sequenceNumber": 4, "keloRoles": "{\"t\":1}"}], "mode": 2})";
    KeloPlayListPlAddExternalItems direct;
    ASSERT_TRUE(direct.readJson(text));
    const KeloPlayListPlAddExternalItems decoded(fromJsonText(text));
    EXPECT_EQ(direct.items(), decoded.items());
    EXPECT_EQ(direct.items().at(0).url(), "a\"b");
    EXPECT_EQ(direct.plid(), 5);
    EXPECT_EQ(direct.mode(), KeloPlayListAddPosition::Append);
    EXPECT_FALSE(direct.readJson(R"({"items": [{"title": "a", "title": "b"}]})"));
    EXPECT_FALSE(direct.readJson(R"({"items": [{"title": "\u00e9"}]})"));
}

TEST(ArgumentRecords, AnAddsItemsBeforeThePlaylistAreTakenAtOnceOnlyWhenPlainMembersEndTheText)
{
    struct Reading
    {
        bool read = false;
        int heads = 0;
        int takenBeforeHead = 0;
        int taken = 0;
        KeloPlayListPlAddExternalItems head, record;
    };
    const auto readWhileTaking = [](const QByteArray& text) {
        Reading r;
        r.read = r.record.readJson(
            text, [&](const KeloPlayListPlAddExternalItems& h) { ++r.heads; r.head = h; },
            [&](KeloPlayListItem&&) { r.takenBeforeHead += r.heads == 0; ++r.taken; return true; });
        return r;
    };
    // The second item is declined by the reader: only a reading that takes items where they stand
    // has taken the first one by then.
    const QByteArray items = R"({"items": [{"title": "a"}, {"title": "\u00e9"}])";
    const Reading plain = readWhileTaking(items + R"(, "mode": "append", "plid": 5 })");
    EXPECT_FALSE(plain.read);
    EXPECT_EQ(plain.heads, 1);
    EXPECT_EQ(plain.head.plid(), 5);
    EXPECT_EQ(plain.head.mode(), KeloPlayListAddPosition::Append);
    EXPECT_EQ(plain.taken, 1);
    EXPECT_EQ(plain.takenBeforeHead, 0);
    for (const char* tail : {R"(, "mode": {}, "plid": 5})", R"(, "mode": "app\"end", "plid": 5})", R"(, "mode": "append"})"}) {
        const Reading checkedFirst = readWhileTaking(items + tail);
        EXPECT_FALSE(checkedFirst.read) << tail;
        EXPECT_EQ(checkedFirst.taken, 0) << tail;
    }

    // Looking back can be misled by an array among the members after the items; the record read to
    // the end then differs from the head, which the caller checks.
    const Reading misled = readWhileTaking(R"({"items": [{"title": "a"}], "tags": [1], "plid": 5})");
    ASSERT_TRUE(misled.read);
    EXPECT_EQ(misled.taken, 1);
    EXPECT_NE(misled.head.hash(), misled.record.hash());
    const Reading sorted = readWhileTaking(R"({"items": [{"title": "a"}], "mode": "now", "plid": -3})");
    ASSERT_TRUE(sorted.read);
    EXPECT_EQ(sorted.head.hash(), sorted.record.hash());
    EXPECT_EQ(sorted.head.plid(), -3);
}

TEST(PlayListItems, WriteOnlyTheFieldsThatWereSetAndReadWrongTypesAsTheirFallbacks)
{
    KeloPlayListItem fromLibrary;
    fromLibrary.setTitle(QStringLiteral("T"));
    fromLibrary.setDurationSeconds(0);
    EXPECT_EQ(fromLibrary.hash(), (QVariantHash{{"title", "T"}, {"durationSeconds", 0}}));
    EXPECT_FALSE(fromLibrary.isValid());
    EXPECT_EQ(fromLibrary.uid(), -1);

    const KeloPlayListItem odd(fromJsonText(R"({"uid": "7", "title": 5, "durationSeconds": 2.5, "extra": 1})"));
    EXPECT_TRUE(odd.isValid());  // a uid key of the wrong type still names an entry, as it always did
    EXPECT_EQ(odd.uid(), -1);
    EXPECT_EQ(odd.title(), QString());
    EXPECT_EQ(odd.durationSeconds(), 0);
    EXPECT_EQ(odd.hash(), (QVariantHash{{"uid", -1}, {"title", ""}, {"durationSeconds", 0}}));
}

TEST(PlayListItems, KeepTheirTextsAsUtf8AndCompareByEveryField)
{
    KeloPlayListItem item;
    item.setArtist(QString::fromUtf8("Bj\xc3\xb6rk \xf0\x9f\x8e\xb5"));
    EXPECT_EQ(item.utf8(KeloPlayListItem::Text::Artist), QByteArray("Bj\xc3\xb6rk \xf0\x9f\x8e\xb5"));
    EXPECT_EQ(item.artist(), QString::fromUtf8("Bj\xc3\xb6rk \xf0\x9f\x8e\xb5"));

    KeloPlayListItem same;
    same.setUtf8(KeloPlayListItem::Text::Artist, QByteArray("Bj\xc3\xb6rk \xf0\x9f\x8e\xb5"));
    EXPECT_EQ(same, item);
    same.setGenre(QString());  // an empty text that was set is not a text that was never set
    EXPECT_NE(same, item);
    EXPECT_EQ(KeloPlayListItem(KeloHash(same.hash())), same);
}

TEST(Enumerations, NamesAndNumbersConvertBothWaysAndUnknownNamesAreInvalid)
{
    const QStringList playModes{"normal", "shuffle", "repeatOne", "shuffleRepeatOne", "repeatAll", "shuffleRepeatAll"};
    for (int i = 0; i < playModes.size(); ++i) {
        EXPECT_EQ(KeloPlayerPlayMode::toString(i), playModes.at(i));
        EXPECT_EQ(KeloPlayerPlayMode::fromVariant(playModes.at(i)), i);
    }
    EXPECT_EQ(KeloPlayListAddPosition::toString(1), "afterCurrent");
    EXPECT_EQ(KeloPowerManagerTarget::fromString("online"), KeloPowerManagerTarget::Online);
    EXPECT_EQ(KeloPowerManagerTarget::toString(KeloPowerManagerTarget::NetworkStandby), "networkStandby");
    EXPECT_EQ(KeloPlayListPlRepeatMode::toString(3), "3") << "a number without a name is written as text";
    EXPECT_EQ(KeloPlayListPlRepeatMode::fromString("3"), 3);
    EXPECT_EQ(KeloPlayerPlayMode::fromString("-1"), -1);
    for (const char* text : {"All", "repeat", "", "-", "1x", "0x1", " 1", "+1", "99999999999"}) {
        EXPECT_EQ(KeloPlayListPlRepeatMode::fromString(text), KeloPlayListPlRepeatMode::Invalid) << text;
        EXPECT_EQ(KeloPlayerPlayMode::fromVariant(QString(text)), KeloPlayerPlayMode::Invalid) << text;
    }
    EXPECT_EQ(KeloPlayerPlayMode::fromVariant(QVariantList{1}), KeloPlayerPlayMode::Invalid);
    EXPECT_EQ(KeloPowerManagerTarget::fromString("standby"), -1);
}

TEST(RoleRecords, RowsRolesTakeTheTitleOfTheirRoles)
{
    KeloRoles roles;
    roles.setTitle(QStringLiteral("Queue"));
    KeloRowsRoles rows;
    rows.setRoles(roles);
    EXPECT_EQ(rows.roles(), roles);
    rows.setRoles(KeloRoles());
    EXPECT_EQ(rows.title(), "Queue") << "untitled roles keep the title";
}

TEST(RoleRecords, TrackFactsReadFromTextAreWhatTheDecodedRolesSay)
{
    for (const char* text :
         {R"({"type": 3, "title": "T", "mediaData": {"resources": [{"uri": "u"}]}, "x": [{"y": 1}]})",
          R"({"type": "3", "title": 7, "mediaData": {"resources": [1, {"mime": "a"}, {"uri": "v"}]}})",
          R"({"type": 3, "title": "T", "mediaData": {"resources": {"uri": "u"}, "metaData": {"prePlayPath": "p:q"}}})",
          R"({"type": 2147483648, "title": "T", "mediaData": [{"resources": []}]})", R"({})"}) {
        KeloTrackFacts facts;
        ASSERT_TRUE(KeloRoles::readTrackFacts(text, &facts)) << text;
        const KeloRoles roles(fromJsonText(text));
        const QList<KeloMediaResource> resources = roles.mediaData().resources();
        EXPECT_EQ(facts.type, roles.type()) << text;
        EXPECT_EQ(facts.title, roles.title()) << text;
        EXPECT_EQ(facts.firstResourceUri, resources.isEmpty() ? QString() : resources.first().uri()) << text;
        EXPECT_EQ(CMPath(facts.prePlayPath), roles.mediaData().metaData().prePlayPath()) << text;
    }
    KeloTrackFacts facts;
    for (const char* declined : {R"({"title": "a", "title": "b"})", R"([3])", R"({"title": "\u00e9"})", "{"})
        EXPECT_FALSE(KeloRoles::readTrackFacts(declined, &facts)) << declined;
}

// Records travel in queued signals as variants, which compare them as the records compare.
TEST(RecordTypes, CompareByValueInsideAVariant)
{
    EXPECT_EQ(QVariant::fromValue(CMPath("a:b?x=1&y=2")), QVariant::fromValue(CMPath("a:b?y=2&x=1")));
    EXPECT_NE(QVariant::fromValue(KeloValue::fromI32(1)), QVariant::fromValue(KeloValue::fromI32(2)));
}

TEST(RecordJsonForms, KeloValuesReadTheirOwnTypeOnlyAndRecogniseMalformedForms)
{
    const KeloValue i32 = fromJsonText(R"({"type": "i32_", "i32_": 5})");
    const KeloValue text = fromJsonText(R"({"type": "string_", "string_": "Mix"})");
    const KeloValue flag = fromJsonText(R"({"type": "bool_", "bool_": true})");
    const KeloValue power = fromJsonText(R"({"type": "powerTarget", "powerTarget": {"target": 2}})");
    EXPECT_TRUE(i32.i32_() == 5 && text.string_() == "Mix" && flag.bool_());
    EXPECT_EQ(power.powerTarget().target(), KeloPowerManagerTarget::NetworkStandby);
    for (const KeloValue& v : {i32, text, flag, power}) {
        EXPECT_TRUE(v.isWellFormed());
        EXPECT_EQ(throughJson(v), v);
    }
    EXPECT_TRUE(text.i32_() == 0 && !i32.bool_() && i32.string_().isEmpty() && i32.powerTarget().target() == 0);
    for (const char* bad : {R"({"type": "i32_", "i32_": "5"})", R"({"type": "i32_", "i32_": 5.5})",
                            R"({"type": "bool_", "bool_": 1})", R"({"type": "string_"})",
                            R"({"type": "powerTarget", "powerTarget": 2})", R"({"type": "i64_", "i64_": 5})",
                            R"({"i32_": 5})"}) {
        EXPECT_FALSE(KeloValue(fromJsonText(bad)).isWellFormed()) << bad;
        EXPECT_EQ(KeloValue(fromJsonText(bad)).i32_(), 0) << bad;
    }
}

TEST(RecordJsonForms, RolesKeepEveryKeyIncludingUnknownOnes)
{
    const KeloRoles roles = fromJsonText(R"({
        "title": "Track", "path": "media:track/12?x=%26", "type": 3, "containerType": 100, "duration": 215,
        "value": {"type": "i32_", "i32_": 4}, "context": {"title": "Menu", "path": "playlists:pl/trackcontextmenu"},
        "mediaData": {"resources": [{"uri": "file:///a.mp3", "mimeType": "audio/mpeg"}, 7],
                      "metaData": {"playLogicPath": "playlists:playlogic", "AllowSeekTime": true, "AllowSeekBytes": false}},
        "custom": {"kept": [1, 2]}})");
    EXPECT_EQ(roles.path().parameter("x"), "&");
    EXPECT_EQ(roles.value().i32_(), 4);
    EXPECT_EQ(roles.context().path(), CMPath("playlists:pl/trackcontextmenu"));
    ASSERT_EQ(roles.mediaData().resources().size(), 1);
    EXPECT_EQ(roles.mediaData().resources().at(0).mimeType(), "audio/mpeg");
    const KeloMetaData meta = roles.mediaData().metaData();
    EXPECT_EQ(meta.playLogicPath(), CMPath("playlists:playlogic"));
    EXPECT_TRUE(meta.allowSeekTime() && meta.hasAllowSeekBytes() && !meta.allowSeekBytes());
    EXPECT_EQ(throughJson(roles), roles);
    EXPECT_EQ(roles.get("custom").toHash().value("kept"), QVariant(QVariantList{1, 2}));
}

TEST(RecordJsonForms, AnActionReplyCarriesItsEventsOnlyWhenThereAreSome)
{
    KeloActionReply reply;
    KeloRoles result;
    result.setValue(KeloValue::fromI32(7));
    reply.setResult(result);
    EXPECT_FALSE(KeloJson::stringify(reply.toVariant()).contains("events"));
    KeloEvent event;
    event.setRowsType(1);
    event.setPath(CMPath("playlists:pl/getitems/5"));
    reply.appendEvent(event);
    reply.appendEvent(event);
    const KeloActionReply read = throughJson(reply);
    EXPECT_EQ(read.result().value().i32_(), 7);
    ASSERT_EQ(read.events().size(), 2);
    EXPECT_EQ(read.events().at(1).path(), CMPath("playlists:pl/getitems/5"));
    EXPECT_EQ(read.events().at(1).rowsType(), 1);
    reply.setEvents({});
    EXPECT_FALSE(reply.contains("events"));

}
