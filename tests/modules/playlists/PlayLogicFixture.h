#pragma once
// A worker with a real store in a temporary directory, its play logic, and a player that only records
// what it is told. Everything runs in the test's thread, so each call is handled inside the call.
#include <QCoreApplication>
#include <QDir>
#include <QMutex>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

#include "CMRoot.h"
#include "KeloJson.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListPlayLogic.h"
#include "PlayListWorker.h"
#include "PlayLogic.h"

inline void ensureCoreApplication()
{
    static int argc = 1;
    static char name[] = "playlists_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// Records every request on "player:" paths: the play logic's commands and the controls.
class RecordingPlayer : public CMAbstractWorker
{
public:
    RecordingPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        QMutexLocker lock(&mutex);
        received.append(request.value().toHash());
        request.reply().setValue(QVariant());
        return true;
    }
    // "play", "setNextMedia", ... for commands; "control:stop" for controls.
    QStringList names() const
    {
        QMutexLocker lock(&mutex);
        QStringList result;
        for (const QVariantHash& value : received)
            result << (value.contains(QStringLiteral("control"))
                           ? QStringLiteral("control:") + value.value(QStringLiteral("control")).toString()
                           : value.value(PlayLogicWire::Command()).toString());
        return result;
    }
    // The last command or control of that name; empty when none.
    QVariantHash last(const QString& name) const
    {
        const QStringList all = names();
        const int i = all.lastIndexOf(name);
        QMutexLocker lock(&mutex);
        return i < 0 ? QVariantHash() : received.at(i);
    }
    void clear()
    {
        QMutexLocker lock(&mutex);
        received.clear();
    }

    mutable QMutex mutex;
    QList<QVariantHash> received;
};

class PlayLogicTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ensureCoreApplication();
        ASSERT_TRUE(dir.isValid());
        previousDir = QDir::currentPath();
        QDir::setCurrent(dir.path());
        root = std::make_unique<CMRootWorker>();
        root->setInitialValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(0));
        player = std::make_unique<RecordingPlayer>();
        root->addWorker(player.get());
        worker = std::make_unique<PlayListWorker>(QHash<QString, QVariant>());
        root->addWorker(worker.get());
        logic = worker->getPlayLogic();
        manager = worker->getManager();
    }
    void TearDown() override
    {
        worker.reset();
        player.reset();
        root.reset();
        QDir::setCurrent(previousDir);
    }

    // An entry's stored roles: a track of 200 s, or with no resources, or one that cannot be opened.
    static KeloPlayListItem track(int n, const QString& uri = QString())
    {
        const QString url = uri.isNull() ? QStringLiteral("demo://track/%1").arg(n) : uri;
        QVariantList resources;
        if (!url.isEmpty())
            resources << QVariantHash{{"uri", url}, {"mimeType", "audio/mpeg"}};
        const QVariantHash roles{{"type", 3}, {"title", QStringLiteral("Track %1").arg(n)}, {"duration", 200},
                                 {"mediaData", QVariantHash{{"resources", resources}, {"metaData", QVariantHash()}}}};
        KeloPlayListItem item;
        item.setTitle(roles.value("title").toString());
        item.setUrl(url.isEmpty() ? QStringLiteral("demo://none") : url);
        item.setKeloRoles(KeloJson::stringify(roles));
        return item;
    }
    static QList<KeloPlayListItem> tracks(int first, int count, const QSet<int>& withoutResources = {})
    {
        QList<KeloPlayListItem> items;
        for (int n = first; n < first + count; ++n)
            items << track(n, withoutResources.contains(n) ? QString("") : QString());
        return items;
    }
    PlayListBase* playlist(int count, const QSet<int>& withoutResources = {})
    {
        PlayListBase* pl = manager->createPlayList(QStringLiteral("Test"));
        pl->addItems(KeloPlayListAddPosition::Append, tracks(0, count, withoutResources));
        return pl;
    }

    // The player's calls.
    CMVoidReply call(const QString& name, QVariantHash fields = {})
    {
        fields.insert(PlayLogicWire::Call(), name);
        const CMVoidReply reply;
        logic->setDataRequest(CMSetDataRequest(KeloPlayListsPlayLogicPath(), fields, reply));
        return reply;
    }
    CMVoidReply playContainer(const CMPath& containerPath, int index)
    {
        KeloRoles container;
        container.setType(KeloRolesType::Container);
        container.setPath(containerPath);
        KeloPlayLogicPlayArgs args;
        args.setMediaRoles(container);
        args.setIndex(index);
        args.setType(KeloRolesType::Container);
        return call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), args.toVariant()}});
    }
    void play(PlayListBase* pl, int index) { playContainer(KeloPlayListPlGetItemsPath() + pl->getUid(), index); }
    void previous(qint64 playTime) { call(PlayLogicWire::Previous(), {{PlayLogicWire::PlayTime(), playTime}}); }
    void changePlayMode(int mode) { call(PlayLogicWire::ChangePlayMode(), {{"playMode", mode}}); }
    // Confirms the start of the last track the player was told to play, as a player does.
    void confirmStart()
    {
        call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), lastPlayed(PlayLogicWire::Play())}});
    }

    // The sequence number of the last track named by that command; -1 when none.
    QVariant lastPlayed(const QString& command) const
    {
        return player->last(command).value(PlayLogicWire::Roles());
    }
    int seqOf(const QString& command) const
    {
        const KeloRoles roles(KeloHash(lastPlayed(command).toHash()));
        return roles.value().isI32_() ? roles.value().i32_() : -1;
    }
    int playCount() const { return player->names().count(PlayLogicWire::Play()); }
    static int seqOf(const KeloRoles& roles) { return roles.value().isI32_() ? roles.value().i32_() : -1; }

    QTemporaryDir dir;
    QString previousDir;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<RecordingPlayer> player;
    std::unique_ptr<PlayListWorker> worker;
    PlayListPlayLogic* logic = nullptr;
    PlayListManager* manager = nullptr;
};
