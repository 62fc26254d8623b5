#pragma once
// kelo-host with the plug-in on a fresh data directory, driven over HTTP as a client drives it.
#include "HostProcess.h"
#include "PlayListTestSupport.h"

namespace pltest {

class EndToEnd : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dataDir.isValid());
        start();
    }
    void TearDown() override { EXPECT_TRUE(stop()) << "kelo-host did not end cleanly"; }

    void start(const QStringList& extraArguments = {})
    {
        ASSERT_TRUE(host.start(dataDir.path(), extraArguments)) << "kelo-host did not start";
        client = std::make_unique<HostClient>(host.port());
    }
    bool stop()
    {
        client.reset();
        return host.stop();
    }

    HttpAnswer command(const QString& path, const QJsonValue& value) { return client->setData(path, value); }
    int createPlayList(const QString& name)
    {
        return command("playlists:pl/create", QJsonObject{{"name", name}}).result().toInt(-1);
    }
    HttpAnswer add(int plid, const QStringList& paths, const QJsonValue& mode = QJsonValue::Undefined)
    {
        QJsonObject value{{"plid", plid}, {"items", QJsonArray::fromStringList(paths)}};
        if (!mode.isUndefined())
            value.insert("mode", mode);
        return command("playlists:pl/additems", value);
    }
    StoreReader store() const { return StoreReader(dataDir.path() + "/data-rw/playlists/playlists.sqlite"); }
    // The uid of the entry at seqNum of a playlist, from the file.
    int entryUid(int plid, int seqNum) const
    {
        return store().number(QStringLiteral("SELECT item FROM playlists_items WHERE playlist = %1 AND sequenceNumber = %2")
                                  .arg(plid)
                                  .arg(seqNum));
    }

    QTemporaryDir dataDir;
    HostProcess host;
    std::unique_ptr<HostClient> client;
};

// An external item in its JSON form (docs/api.md).
inline QJsonObject externalItem(const QString& title)
{
    return QJsonObject::fromVariantHash(track(title).hash());
}

inline QJsonArray ints(const QList<int>& values)
{
    QJsonArray array;
    for (int v : values)
        array.append(v);
    return array;
}

}  // namespace pltest
