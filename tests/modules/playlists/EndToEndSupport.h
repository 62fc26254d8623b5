#pragma once
// kelo-host with the playlists module on a fresh data directory, driven over HTTP as a client drives it.
#include <QTemporaryDir>

#include "HostProcess.h"
#include "PlayListTestSupport.h"

namespace pltest {

class EndToEnd : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(tmp.isValid());
        start();
    }
    // A non-zero status is also how the sanitizers report a leak at exit.
    void TearDown() override { EXPECT_EQ(host.stop(), 0) << "kelo-host did not end cleanly"; }

    void start()
    {
        ASSERT_TRUE(host.start(dataDir(), {"--plugin", HostProcess::playlistsModule()}))
            << "kelo-host did not start: " << host.errorOutput().toStdString();
    }
    QString dataDir() const { return tmp.filePath(QStringLiteral("data")); }

    // The whole answer of a set-data request; a failed request answers an empty hash.
    QVariantHash command(const QString& path, const QVariant& value) const
    {
        QVariantHash answer;
        host.post("/api/setData", jsonText(QVariantHash{{"path", path}, {"value", value}}), &answer);
        return answer;
    }
    // The command's result value ({"type": "i32_", "i32_": 7} -> 7), invalid when it failed.
    QVariant result(const QString& path, const QVariant& value) const
    {
        const QVariantHash typed = command(path, value).value("value").toHash().value("result").toHash().value("value").toHash();
        return typed.value(typed.value("type").toString());
    }
    int createPlayList(const QString& name) const
    {
        const QVariant plid = result("playlists:pl/create", QVariantHash{{"name", name}});
        return plid.isValid() ? plid.toInt() : -1;
    }
    // Whether the command was carried out (its answer holds a value, not an error).
    bool succeeds(const QString& path, const QVariant& value) const { return command(path, value).contains("value"); }
    bool add(int plid, const QStringList& paths) const
    {
        return succeeds("playlists:pl/additems", QVariantHash{{"plid", plid}, {"items", paths}});
    }
    StoreReader store() const { return StoreReader(dataDir() + "/data-rw/playlists/playlists.sqlite"); }

    QTemporaryDir tmp;
    HostProcess host;
};

}  // namespace pltest
