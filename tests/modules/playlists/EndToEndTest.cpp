// kelo-host with the module on a fresh data directory, driven over HTTP as a client drives it, for
// what only the running program shows: a restart, a merge between stored lists, the events stream,
// and the exact answers of a recorded session. Many threads at once are the worker tests' part.
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "EventReader.h"
#include "HostTest.h"
#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
class EndToEnd : public HostTest
{
protected:
    void SetUp() override { ASSERT_TRUE(start({"--plugin", HostProcess::playlistsModule()})); }
    // A non-zero status is also how the sanitizers report a leak at exit.
    void TearDown() override { EXPECT_EQ(m_host.stop(), 0) << "kelo-host did not end cleanly"; }

    // The command's result value ({"type": "i32_", "i32_": 7} -> 7); invalid when it failed.
    QVariant result(const QString& path, const QVariant& value) const
    {
        QVariantHash answer;
        m_host.post("/api/setData", jsonText(QVariantHash{{"path", path}, {"value", value}}), &answer);
        const QVariantHash typed = answer.value("value").toHash().value("result").toHash().value("value").toHash();
        return answer.contains("value") ? typed.value(typed.value("type").toString(), true) : QVariant();
    }
    bool succeeds(const QString& path, const QVariant& value) const { return result(path, value).isValid(); }
    int createPlayList(const QString& name) const
    {
        const QVariant plid = result("playlists:pl/create", QVariantHash{{"name", name}});
        return plid.isValid() ? plid.toInt() : -1;
    }
    bool add(int plid, const QStringList& paths) const
    {
        return succeeds("playlists:pl/additems", QVariantHash{{"plid", plid}, {"items", paths}});
    }
    StoreReader store() const { return StoreReader(dataDir() + "/data-rw/playlists/playlists.sqlite"); }
};
}  // namespace

// What each start loads, the play queue emptied, is the model's; here the process ends, and starts
// again on what it wrote.
TEST_F(EndToEnd, ARestartKeepsThePlaylistsAndWorksOnWhatItLoaded)
{
    const int a = createPlayList("Alpha");
    ASSERT_TRUE(add(a, {"media:album/3"}));
    ASSERT_TRUE(succeeds("playlists:pl/setrepeat", QVariantHash{{"plid", a}, {"mode", "all"}}));
    const QString playlists = "SELECT uid, name, shuffle, repeatAll FROM playlists WHERE uid > 0";
    const QStringList before = store().rows(playlists);
    const QStringList titles = store().titles(a);

    ASSERT_EQ(m_host.stop(), 0);
    SetUp();

    EXPECT_EQ(store().rows(playlists), before);
    EXPECT_TRUE(succeeds("playlists:pl/removeitems", QVariantHash{{"plid", a}, {"items", QVariantList{0}}}));
    EXPECT_EQ(store().titles(a), titles.mid(1)) << "the restarted module works on what it loaded";
}

// A merge into another list, which removes its source, is in the recorded session.
TEST_F(EndToEnd, AMergeNeverRemovesItsTargetOrThePlayQueue)
{
    const int target = createPlayList("Target");
    ASSERT_TRUE(add(target, {"media:album/2"}));
    const QStringList titles = store().titles(target);
    ASSERT_TRUE(succeeds("playlists:pl/additems", QVariantHash{{"plid", target}, {"fromPlid", target}}));
    EXPECT_EQ(store().titles(target), titles + titles);
    ASSERT_TRUE(add(0, {"media:track/9"}));
    ASSERT_TRUE(succeeds("playlists:pl/additems", QVariantHash{{"plid", target}, {"fromPlid", 0}}));
    EXPECT_EQ(store().titles(0).size(), 1);
    EXPECT_EQ(store().titles(target).size(), 2 * titles.size() + 1);
}

TEST_F(EndToEnd, EveryEditReachesEveryOpenStreamOnceAndInOrder)
{
    std::vector<std::unique_ptr<EventReader>> readers;
    for (int i = 0; i < 4; ++i) {
        readers.push_back(std::make_unique<EventReader>(m_host.port()));
        ASSERT_TRUE(readers.back()->waitConnected());
    }
    const int road = createPlayList("Road");
    const QString items = "playlists:pl/getitems/" + QString::number(road);
    readers.back()->close();  // gone before the next edits: the host forgets it and serves the others
    readers.pop_back();
    ASSERT_TRUE(add(road, {"media:track/1", "media:track/2", "media:track/3"}));
    ASSERT_TRUE(succeeds("playlists:pl/delete", QVariantHash{{"plid", road}}));
    ASSERT_TRUE(succeeds("playlists:cl/create", QVariantHash{{"name", "Marker"}}));  // its events come last

    const QStringList expected = {"playlists: reset", "playlists:pl/addtoplaylist reset", "playlists:pl/getlist reset",
                                  items + " rows +0,+1,+2", items + " close", "playlists: reset",
                                  "playlists:pl/addtoplaylist reset", "playlists: reset", "playlists:cl/addtocollection reset"};
    for (const auto& reader : readers) {
        ASSERT_TRUE(reader->waitFor([](const QVariantHash& e) { return e.value("path") == "playlists:cl/addtocollection"; }));
        QStringList got;
        for (const QVariantHash& e : reader->events()) {
            const QString path = e.value("path").toString();
            if (path.startsWith("playlists:"))
                got.append((path + " " + e.value("change").toString() + " " + e.value("rows").toStringList().join(',')).trimmed());
        }
        EXPECT_EQ(got, expected);
    }
}

// data/api-exchanges.json holds requests with the answers they got when it was recorded with
// data/record-api-answers.py (only after a change meant to change answers): every status and every
// JSON value must come back the same, in order.
TEST_F(EndToEnd, ARecordedSessionGetsTheRecordedAnswers)
{
    QFile file(QStringLiteral(KELO_SOURCE_DIR "/tests/modules/playlists/data/api-exchanges.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray exchanges = QJsonDocument::fromJson(file.readAll()).array();
    ASSERT_GT(exchanges.size(), 50);
    const auto compact = [](const QJsonValue& v) { return QJsonDocument(QJsonArray{v}).toJson(QJsonDocument::Compact).toStdString(); };
    const auto http = m_host.client();
    for (int i = 0; i < exchanges.size(); ++i) {
        const QJsonObject exchange = exchanges[i].toObject();
        const std::string body = QJsonDocument(exchange["body"].toObject()).toJson(QJsonDocument::Compact).toStdString();
        const httplib::Result answer = http->Post(exchange["endpoint"].toString().toStdString().c_str(), body, "application/json");
        SCOPED_TRACE("request " + std::to_string(i) + " " + body);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, exchange["status"].toInt());
        EXPECT_EQ(compact(QJsonDocument::fromJson(QByteArray::fromStdString(answer->body)).object()), compact(exchange["answer"]));
    }
}
