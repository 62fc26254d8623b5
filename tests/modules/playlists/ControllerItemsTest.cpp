// Adding items through the controller: the roles check, add positions, the items limit and the
// module's own prepare answer.
#include <QTest>

#include "ControllerTestSupport.h"
#include "ReplyTimeout.h"

using namespace pltest;

namespace {
KeloPlayListItem withRoles(KeloPlayListItem item, const std::function<void(KeloRoles&)>& change)
{
    KeloRoles roles(KeloHash(KeloJson::parse(item.keloRoles()).toHash()));
    change(roles);
    item.setKeloRoles(KeloJson::stringify(roles.toVariant()));
    return item;
}

const QString noneAdded = QStringLiteral("Could not add external items to playlist. No items were added.");
}  // namespace

TEST_F(ControllerTest, ExternalItemsAreAddedAtTheirPositionAndUnknownModesRefused)
{
    PlayListBase* pl = playlistWith("Ext", {"a", "b", "c"});
    pl->setLastSequenceNumber(0);
    const int uid = pl->getUid();
    const auto addExternal = [&](const QStringList& titles, const QVariant& mode) {
        QVariantHash value = args({{"plid", uid}, {"items", itemList(tracks(titles))}});
        if (mode.isValid())
            value.insert("mode", mode);
        return send(KeloPlayListPlAddExternalItemsPath(), value);
    };
    EXPECT_TRUE(addExternal({"x", "y"}, "afterCurrent").ok);
    EXPECT_TRUE(addExternal({"z"}, QVariant()).ok);
    for (const QVariant& mode : {QVariant("soon"), QVariant(3), QVariant(-1)})
        EXPECT_EQ(addExternal({"no"}, mode).message,
                  QStringLiteral("Could not add external items to playlist. Invalid add mode. (mode)"));
    EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"items", QVariantList{"media:track/1"}}, {"mode", "later"}}))
                  .message,
              QStringLiteral("Could not add items to playlist. Invalid add mode. (mode)"));
    EXPECT_EQ(store().titles(uid), (QStringList{"a", "x", "y", "b", "c", "z"}));
}

TEST_F(ControllerTest, OneUnplayableItemRefusesTheWholeAddWhileItemsWithoutRolesAreSkipped)
{
    const int uid = createPlayList("Strict");
    const QList<std::function<void(KeloRoles&)>> breakers = {
        [](KeloRoles& r) { r.setTitle(QString()); },
        [](KeloRoles& r) { r.setType(KeloRolesType::Container); },
        [](KeloRoles& r) { r.setMediaData(KeloMediaData()); },
    };
    for (const auto& breaker : breakers) {
        QList<KeloPlayListItem> items = tracks({"ok1", "ok2"});
        items.insert(1, withRoles(track("bad"), breaker));
        EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(items)}})).message,
                  noneAdded);
    }
    KeloPlayListItem bare = track("bare");
    bare.setKeloRoles(QString());
    // A pre-play path stands in for a missing resource uri.
    const KeloPlayListItem prePlay = withRoles(track("pre"), [](KeloRoles& r) {
        KeloMetaData metaData;
        metaData.setPrePlayPath(CMPath("media:prePlay/7"));
        KeloMediaData mediaData;
        mediaData.setMetaData(metaData);
        r.setMediaData(mediaData);
    });
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList({bare, prePlay})}})).ok);
    EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList({bare})}})).message,
              noneAdded);
    EXPECT_EQ(store().titles(uid), QStringList{"pre"});
}

TEST_F(ControllerTest, TheItemsLimitKeepsTheFirstItemsThatFitAndAFullStoreAddsNone)
{
    controller.reset();
    reopen(3);
    controller = std::make_unique<Controller>(nullptr, manager.get());
    const int uid = createPlayList("Full");
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks(names(5)))}})).ok);
    EXPECT_EQ(store().titles(uid), names(3));
    // The external add fails, while the shared add step reports 0 added.
    EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks({"x"}))}})).message,
              noneAdded);
    QString msg;
    PlayListBase* pl = manager->getPlayListByUid(uid);
    EXPECT_EQ(controller->addItemsToPlaylist(pl, tracks({"x"}), KeloPlayListAddPosition::Append, &msg), 0);
    EXPECT_EQ(controller->addItemsToPlaylist(pl, {}, KeloPlayListAddPosition::Append, &msg), -1);
    EXPECT_EQ(msg, QStringLiteral("No playitem found."));
}

TEST_F(ControllerTest, ModuleEntriesAndPlaylistsArePreparedAsItems)
{
    PlayListBase* pl = playlistWith("Src", {"a", "b", "c"});
    const int last = pl->getItems(2, 2).value(0).uid();
    const QStringList paths = {
        (KeloPlayListItemPath() + last).toEncoded(), (KeloPlayListPlGetItemsPath() + pl->getUid()).toEncoded(),
        "playlists:item/abc", "playlists:item/987654", (KeloPlayListPlGetItemsPath() + 999).toEncoded(), "media:track/1"};
    CMSetDataRequest request(KeloPlayListPlPrepareItemsPath(), paths);
    EXPECT_TRUE(controller->handleSetData(request));
    QStringList titles;
    for (const QVariant& item : request.reply().variant().toList())
        titles.append(KeloPlayListItem(KeloHash(item.toHash())).title());
    EXPECT_EQ(titles, (QStringList{"c", "a", "b", "c"}));
}

namespace {
// Takes every request for "silent:" and never answers it.
class SilentWorker : public CMAbstractWorker
{
public:
    SilentWorker() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Silent")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        held.append(request);
        return true;
    }
    QList<CMSetDataRequest> held;
};
}  // namespace

TEST_F(ControllerTest, AnAddWhosePrepareNeverComesBackIsAnsweredTimeoutAndLetGo)
{
    SilentWorker silent;
    root.addWorker(&silent);
    const int saved = ReplyTimeout::ms;
    ReplyTimeout::ms = 50;
    const int uid = createPlayList("Target");
    CMSetDataRequest request(KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"items", QVariantList{"silent:track/1"}}}));
    ASSERT_TRUE(controller->handleSetData(request));
    EXPECT_FALSE(request.reply().isFinished());
    ASSERT_EQ(silent.held.size(), 1);

    EXPECT_TRUE(QTest::qWaitFor([&] { return request.reply().isFinished(); }, 5000));
    EXPECT_EQ(request.reply().error().Name(), CMError::TimeoutName());
    // The late answer finds nothing waiting and adds nothing.
    silent.held.first().reply().setValue(QVariantList{track("late").toVariant()});
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(manager->getPlayListByUid(uid)->getSize(), 0);
    ReplyTimeout::ms = saved;
    root.removeWorker(&silent);
}

// Texts this long are read while their entries are stored; what they answer and store must be what a
// small add of the same items answers and stores.
class LargeAddTest : public ControllerTest
{
protected:
    Answer sendText(const QByteArray& text)
    {
        EXPECT_GE(text.size(), Controller::StreamedAddBytes);
        return send(KeloPlayListPlAddExternalItemsPath(), QVariant::fromValue(KeloJsonText{text, nullptr}));
    }
    const QStringList many = names(1500);
};

TEST_F(LargeAddTest, EntriesLandInOrderWithDenseNumbersAtTheEndOrBehindThePlayedOne)
{
    PlayListBase* pl = playlistWith("Big", {"a", "b", "c"});
    pl->setLastSequenceNumber(0);
    const int uid = pl->getUid();
    EXPECT_TRUE(sendText(addText(uid, tracks(many), "\"mode\":\"afterCurrent\",")).ok);
    EXPECT_TRUE(sendText(addText(uid, tracks(many))).ok);
    EXPECT_EQ(store().titles(uid), QStringList({"a"}) + many + QStringList({"b", "c"}) + many);
    EXPECT_EQ(pl->getSize(), 3 + 2 * many.size());
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(LargeAddTest, ARefusedEntryAnywhereLeavesThePlaylistAsItWas)
{
    PlayListBase* pl = playlistWith("Strict", {"pre"});
    const int uid = pl->getUid();
    for (int at : {0, 700, many.size()}) {
        QList<KeloPlayListItem> items = tracks(many);
        items.insert(at, withRoles(track("bad"), [](KeloRoles& r) { r.setTitle(QString()); }));
        EXPECT_EQ(sendText(addText(uid, items)).message, noneAdded) << at;
    }
    QList<KeloPlayListItem> bare = tracks({"x", "y"});
    for (KeloPlayListItem& item : bare)
        item.setKeloRoles(QString());
    QList<KeloPlayListItem> padded = bare;
    while (addText(uid, padded).size() < Controller::StreamedAddBytes)
        padded += bare;
    EXPECT_EQ(sendText(addText(uid, padded)).message, noneAdded);
    EXPECT_EQ(store().titles(uid), QStringList({"pre"}));
    EXPECT_EQ(pl->getSize(), 1);
}

TEST_F(LargeAddTest, MembersAfterTheItemsAndUncommonFormsAreHonoured)
{
    PlayListBase* pl = playlistWith("Late", {"a", "b"});
    pl->setLastSequenceNumber(0);
    const int uid = pl->getUid();
    const QStringList few = names(1000, "f");
    // The mode after the items decides where they go, although the items were read before it.
    EXPECT_TRUE(sendText(addText(uid, tracks(few), "", ",\"mode\":\"afterCurrent\"")).ok);
    // The playlist named after the items.
    const int other = createPlayList("Other");
    QByteArray late = addText(uid, tracks(few), "", ",\"plid\":" + QByteArray::number(other));
    late.replace("{\"plid\":" + QByteArray::number(uid) + ",", "{");
    EXPECT_TRUE(sendText(late).ok);
    // An escape the quick reading leaves to the document parser.
    QByteArray escaped = addText(uid, tracks(few));
    escaped.replace("\"f999\"", "\"f\\u00e9\"");
    EXPECT_TRUE(sendText(escaped).ok);
    EXPECT_EQ(store().titles(uid), QStringList({"a"}) + few + QStringList({"b"}) + few.mid(0, 999) + QStringList({"fé"}));
    EXPECT_EQ(store().titles(other), few);
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(LargeAddTest, TheItemsLimitKeepsTheFirstEntriesAndAFullStoreAddsNone)
{
    controller.reset();
    reopen(1200);
    controller = std::make_unique<Controller>(nullptr, manager.get());
    const int uid = createPlayList("Full");
    EXPECT_TRUE(sendText(addText(uid, tracks(many))).ok);
    EXPECT_EQ(store().titles(uid), many.mid(0, 1200));
    EXPECT_EQ(sendText(addText(uid, tracks(many))).message, noneAdded);
    EXPECT_EQ(store().titles(uid).size(), 1200);
}
