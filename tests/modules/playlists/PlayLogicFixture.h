#pragma once
// A worker with a real store in a temporary directory, its play logic, and a player that only records
// what it is told. Everything runs in the test's thread, so each call is handled inside the call.
#include <QSet>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

#include "CMRoot.h"
#include "KeloJson.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListPlayLogic.h"
#include "PlayListWorker.h"
#include "TempWorkDir.h"

// Records the play logic's commands ("play", "setNextMedia", ...) and controls ("control:stop"). It is
// called in the test's thread only.
class RecordingPlayer : public CMAbstractWorker
{
public:
    RecordingPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        names << (value.contains("control") ? "control:" + value.value("control").toString()
                                            : value.value(PlayLogicWire::Command()).toString());
        values << value;
        request.reply().setValue(QVariant());
        return true;
    }
    QVariantHash last(const QString& name) const
    {
        const int i = names.lastIndexOf(name);
        return i < 0 ? QVariantHash() : values.at(i);
    }

    QStringList names;
    QList<QVariantHash> values;
};

// "Track n" at demo://track/n, seekable; without resources (which the play logic skips) unless playable.
inline KeloPlayListItem numberedTrack(int n, bool playable = true)
{
    const QString uri = QStringLiteral("demo://track/%1").arg(n);
    const QVariantList resources = playable ? QVariantList{QVariantHash{{"uri", uri}}} : QVariantList();
    KeloPlayListItem item;
    item.setTitle(QStringLiteral("Track %1").arg(n));
    item.setUrl(uri);
    item.setKeloRoles(KeloJson::stringify(QVariantHash{
        {"type", 3}, {"title", item.title()}, {"mediaData", QVariantHash{{"resources", resources}, {"metaData", QVariantHash{{"AllowSeekTime", true}}}}}}));
    return item;
}

inline QList<KeloPlayListItem> numberedTracks(int first, int count, const QSet<int>& unplayable = {})
{
    QList<KeloPlayListItem> items;
    for (int n = first; n < first + count; ++n)
        items << numberedTrack(n, !unplayable.contains(n));
    return items;
}

// Whether a shuffle order holds each of 0 ... size-1 once.
inline bool isPermutation(QVector<int> order, int size)
{
    std::sort(order.begin(), order.end());
    QVector<int> identity(size);
    std::iota(identity.begin(), identity.end(), 0);
    return order == identity;
}

class PlayLogicTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = std::make_unique<CMRootWorker>();
        root->setInitialValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(0));
        player = std::make_unique<RecordingPlayer>();
        root->addWorker(player.get());
        worker = std::make_unique<PlayListWorker>(QHash<QString, QVariant>());
        logic = worker->getPlayLogic();
        manager = worker->getManager();
    }

    PlayListBase* playlist(int count, const QSet<int>& unplayable = {})
    {
        PlayListBase* pl = manager->createPlayList(QStringLiteral("Test"));
        pl->addItems(KeloPlayListAddPosition::Append, numberedTracks(0, count, unplayable));
        return pl;
    }
    // A call of the player, as it arrives at the play logic's node.
    CMVoidReply call(const QString& name, QVariantHash fields = {})
    {
        fields.insert(PlayLogicWire::Call(), name);
        const CMVoidReply reply;
        logic->setDataRequest(CMSetDataRequest(KeloPlayListsPlayLogicPath(), fields, reply));
        return reply;
    }
    // The player is asked to play the container at containerPath from entry index.
    CMVoidReply play(const CMPath& containerPath, int index)
    {
        const QVariantHash container{{"type", KeloRolesType::Container}, {"path", containerPath.toEncoded()}};
        const QVariantHash args{{"mediaRoles", container}, {"index", index}, {"type", KeloRolesType::Container}};
        return call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), args}});
    }
    void play(PlayListBase* pl, int index) { play(KeloPlayListPlGetItemsPath() + pl->getUid(), index); }
    void previous(qint64 playTime) { call(PlayLogicWire::Previous(), {{PlayLogicWire::PlayTime(), playTime}}); }
    void changePlayMode(int mode) { call(PlayLogicWire::ChangePlayMode(), {{"playMode", mode}}); }
    void prepareNext() { call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 1}}); }
    // The player starts the track named by its last command of that name ("play" or "setNextMedia").
    void start(const QString& command = QStringLiteral("play"))
    {
        call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), player->last(command).value("roles")}});
    }

    // The entry's sequence number in a track's roles; -1 when none.
    static int seqOf(const KeloRoles& roles) { return roles.value().isI32_() ? roles.value().i32_() : -1; }
    // The sequence number and title of the track named by the last command of that name.
    int seqOf(const QString& command) const { return seqOf(KeloHash(player->last(command).value("roles").toHash())); }
    QString titleOf(const QString& command) const
    {
        return player->last(command).value("roles").toHash().value("title").toString();
    }
    int playCount() const { return player->names.count(PlayLogicWire::Play()); }

    // Declared in the order they are made; they go in the reverse order.
    TempWorkDir dir;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<RecordingPlayer> player;
    std::unique_ptr<PlayListWorker> worker;
    PlayListPlayLogic* logic = nullptr;
    PlayListManager* manager = nullptr;
};
