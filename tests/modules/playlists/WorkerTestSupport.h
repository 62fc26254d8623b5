#pragma once
// The plug-in's worker in a thread of its own, with a small media worker beside it that prepares
// "media:track/<title>" paths into tracks, driven through the root as the host drives it.
#include <QMutex>
#include <QSemaphore>
#include <QThread>

#include "CMWorkerThread.h"
#include "ControllerTestSupport.h"
#include "PlayListWorker.h"

namespace pltest {

class FakeMediaWorker : public CMAbstractWorker
{
public:
    FakeMediaWorker() : CMAbstractWorker({}, QStringLiteral("Media")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        if (request.path() != CMPath("media:prepareItems"))
            return false;
        QVariantList items;
        for (const QVariant& path : request.value().toList())
            items.append(track(CMPath::fromQVariant(path).splitBase().value(1)).toVariant());
        request.reply().setValue(items);
        return true;
    }
};

class WorkerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(workDir.isValid());
        media = std::make_unique<CMWorkerThread>([] { return new FakeMediaWorker; });
        start();
    }
    void TearDown() override
    {
        stop();
        media.reset();
    }
    void start()
    {
        playlists = std::make_unique<CMWorkerThread>([] { return worker_create(nullptr, {}); });
        ASSERT_NE(playlists->worker(), nullptr);
    }
    void stop() { playlists.reset(); }

    PlayListWorker* worker() const { return static_cast<PlayListWorker*>(playlists->worker()); }

    // Sends a command through the root from the calling thread and waits for its answer.
    Answer command(const CMPath& path, const QVariant& value)
    {
        CMSetDataRequest request(path, value);
        root.sendSetData(request);
        request.reply().waitForFinished(30000);
        return answerOf(request.reply());
    }
    int createPlayList(const QString& name)
    {
        return command(KeloPlayListPlCreatePath(), QVariantHash{{"name", name}}).value.i32_();
    }
    int playlistWith(const QString& name, const QStringList& titles)
    {
        const int uid = createPlayList(name);
        command(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks(titles))}}));
        return uid;
    }
    // Everything queued to the worker before this call has been handled when it returns.
    void drainWorker() { command(KeloPlayListPlClearPath(), args({{"plid", 999999}})); }

    static StoreReader store() { return StoreReader(); }

    TempWorkDir workDir;
    CMRootWorker root;
    std::unique_ptr<CMWorkerThread> media;
    std::unique_ptr<CMWorkerThread> playlists;
};

}  // namespace pltest
