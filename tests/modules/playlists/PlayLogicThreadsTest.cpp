// The worker, a player and clients each in a thread of their own, all at once: commands edit the
// playing list while the player's calls and the user's controls come in. Nothing may hang, no edit
// may be lost, and the play logic's order must stay whole.
#include <algorithm>
#include <atomic>
#include <numeric>
#include <thread>

#include "CMWorkerThread.h"
#include "PlayLogicFixture.h"

namespace {

// Acts as a player would, instantly: starts whatever it is told to play or announced, and forwards
// the user's controls as calls.
class EchoPlayer : public CMAbstractWorker
{
public:
    EchoPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        const QString command = value.value(PlayLogicWire::Command()).toString();
        const QString control = value.value(QStringLiteral("control")).toString();
        const QVariant roles = value.value(PlayLogicWire::Roles());
        if (command == PlayLogicWire::Play() || command == PlayLogicWire::SetNextMedia())
            call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), roles}});
        else if (control == QLatin1String("playContainer"))
            call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), QVariantHash{{"mediaRoles", value.value("containerRoles")},
                                                                               {"index", value.value("index")},
                                                                               {"type", 1}}}});
        else if (control == QLatin1String("playMode"))
            call(PlayLogicWire::ChangePlayMode(), value);
        else if (!control.isEmpty())
            call(control, value);  // next, previous and stop are calls of the same name
        request.reply().setValue(QVariant());
        return true;
    }

private:
    void call(const QString& name, QVariantHash fields)
    {
        fields.insert(PlayLogicWire::Call(), name);
        CMRoot()->sendSetData(CMSetDataRequest(KeloPlayListsPlayLogicPath(), fields));
    }
};

bool send(const CMPath& path, const QVariantHash& value)
{
    const CMVoidReply reply;
    CMRoot()->sendSetData(CMSetDataRequest(path, value, reply));
    EXPECT_TRUE(reply.waitForFinished(30000)) << "no answer: " << qPrintable(path.toEncoded());
    return reply.isFinished() && !reply.hasError();
}

}  // namespace

TEST(PlayLogicThreads, EditsCallsAndControlsAtOnceLoseNothingAndNeverHang)
{
    TempWorkDir dir;
    ASSERT_TRUE(dir.isValid());
    CMRootWorker root;
    root.setInitialValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(0));
    CMWorkerThread playerThread([] { return new EchoPlayer; });
    CMWorkerThread workerThread([] { return new PlayListWorker(QHash<QString, QVariant>()); });
    auto* worker = static_cast<PlayListWorker*>(workerThread.worker());

    const int plid = [&] {
        int id = -1;
        QMetaObject::invokeMethod(worker, [&] { id = worker->getManager()->createPlayList("Busy")->getUid(); },
                                  Qt::BlockingQueuedConnection);
        return id;
    }();
    QVariantList items;
    for (int n = 0; n < 20; ++n)
        items << numberedTrack(n).toVariant();
    ASSERT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), {{"plid", plid}, {"items", items}, {"mode", "append"}}));
    ASSERT_TRUE(send(KeloPlayListPlPlayPath(), {{"plid", plid}}));
    ASSERT_TRUE(send(KeloPlayerControlPath(), {{"control", "playMode"}, {"playMode", 5}}));

    constexpr int rounds = 40;
    std::atomic<int> added{0}, removed{0};
    std::thread editor([&] {
        for (int i = 0; i < rounds; ++i) {
            const QString mode = QStringList{"append", "afterCurrent", "now"}.at(i % 3);
            added += send(KeloPlayListPlAddExternalItemsPath(),
                          {{"plid", plid}, {"items", QVariantList{numberedTrack(100 + i).toVariant()}}, {"mode", mode}});
            if (i % 2)
                removed += send(KeloPlayListPlRemoveItemsPath(), {{"plid", plid}, {"items", QVariantList{i % 7}}});
            send(KeloPlayListPlMoveItemspath(), {{"plid", plid}, {"items", QVariantList{i % 5}}, {"to", 9 - i % 4}});
        }
    });
    std::thread user([&] {
        const QStringList controls{"next", "previous", "next", "next"};
        for (int i = 0; i < rounds; ++i) {
            send(KeloPlayerControlPath(), {{"control", controls.at(i % 4)}});
            if (i % 8 == 0)
                send(KeloPlayerControlPath(), {{"control", "playMode"}, {"playMode", 5 - (i / 8) % 2}});
        }
    });
    std::thread player([&] {
        for (int i = 0; i < rounds; ++i)
            send(KeloPlayListsPlayLogicPath(), {{"call", "prepareNextMedia"}, {"serial", i}, {"playTime", 0}});
    });
    editor.join();
    user.join();
    player.join();

    // Everything queued before this point has been handled once the worker answers.
    int size = -1, last = -2, index = -2;
    bool shuffle = false;
    QVector<int> order;
    QMetaObject::invokeMethod(worker, [&] {
        PlayListBase* pl = worker->getManager()->getPlayListByUid(plid);
        PlayListPlayLogic* logic = worker->getPlayLogic();
        size = pl->getSize();
        last = pl->getLastSequenceNumber();
        shuffle = logic->isShuffleEnabled() && logic->getCurrentPlayList() == pl;
        order = logic->shuffleSequence();
        index = logic->shuffleCurrentIndex();
    }, Qt::BlockingQueuedConnection);

    EXPECT_EQ(added, rounds);
    EXPECT_EQ(removed, rounds / 2);
    EXPECT_EQ(size, 20 + added - removed);
    EXPECT_TRUE(last >= 0 && last < size) << last;
    ASSERT_TRUE(shuffle);
    std::sort(order.begin(), order.end());
    QVector<int> identity(size);
    std::iota(identity.begin(), identity.end(), 0);
    EXPECT_EQ(order, identity);
    EXPECT_TRUE(index >= -1 && index < size) << index;
}
