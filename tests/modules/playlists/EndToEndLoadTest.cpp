// kelo-host over HTTP under load and abuse: many clients at once, the items limit, bad input.
#include <atomic>
#include <thread>

#include "EndToEndSupport.h"

using namespace pltest;

TEST_F(EndToEnd, ManyClientsAtOnceLeaveExactlyTheExpectedRows)
{
    constexpr int clients = 8;
    constexpr int commandsEach = 12;
    const int shared = createPlayList("Shared");
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([this, c, shared, &failures] {
            HostClient own(host.port());
            for (int m = 0; m < commandsEach; ++m) {
                const QString name = QStringLiteral("client%1-%2").arg(c).arg(m);
                if (!own.setData("playlists:pl/create", QJsonObject{{"name", name}}).ok())
                    ++failures;
                const QJsonObject add{{"plid", shared}, {"items", QJsonArray{externalItem(name)}}};
                if (!own.setData("playlists:pl/addexternalitems", add).ok())
                    ++failures;
                if (!own.setData("playlists:pl/additems",
                                 QJsonObject{{"plid", shared}, {"items", QJsonArray{QStringLiteral("media:track/%1").arg(m + 1)}}})
                         .ok())
                    ++failures;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();

    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM playlists WHERE name LIKE 'client%'"), clients * commandsEach);
    EXPECT_EQ(store().number("SELECT COUNT(DISTINCT uid) FROM playlists WHERE uid > 0"), clients * commandsEach + 1);
    EXPECT_EQ(store().titles(shared).size(), 2 * clients * commandsEach);
    EXPECT_TRUE(store().gaps().isEmpty());
}

class EndToEndLimited : public EndToEnd
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dataDir.isValid());
        start({"--set", R"(settings:playlists/dbItemsLimit={"type":"i32_","i32_":5})"});
    }
};

TEST_F(EndToEndLimited, TheItemsLimitCutsAddsShortAndThenAddsNothing)
{
    const int plid = createPlayList("Limited");
    const HttpAnswer first = add(plid, {"media:album/1"});
    EXPECT_TRUE(first.ok()) << first.errorMessage().toStdString();
    EXPECT_EQ(store().titles(plid).size(), 5);

    // Full: an add from browse paths still succeeds with nothing added; an external add fails.
    EXPECT_TRUE(add(plid, {"media:track/20"}).ok());
    EXPECT_EQ(command("playlists:pl/addexternalitems", QJsonObject{{"plid", plid}, {"items", QJsonArray{externalItem("x")}}})
                  .errorMessage(),
              QStringLiteral("Could not add external items to playlist. No items were added."));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 5);

    ASSERT_TRUE(command("playlists:pl/removeitems", QJsonObject{{"plid", plid}, {"items", ints({0, 1})}}).ok());
    EXPECT_TRUE(add(plid, {"media:album/2"}).ok());
    EXPECT_EQ(store().titles(plid).size(), 5);
}

TEST_F(EndToEnd, BadInputGetsAClearErrorAndLosesNothing)
{
    const int plid = createPlayList("Keep");
    ASSERT_TRUE(add(plid, {"media:album/1"}).ok());
    const QStringList kept = store().titles(plid);

    struct Case
    {
        const char* path;
        QJsonValue value;
        const char* message;
    };
    const Case cases[] = {
        {"playlists:pl/create", "just a name", "Could not create playlist. Please provide a non-empty string as field. (name)"},
        {"playlists:pl/create", QJsonArray{1, 2}, "Could not create playlist. Please provide a non-empty string as field. (name)"},
        {"playlists:pl/setname", QJsonObject{{"plid", QString::number(plid)}, {"name", "x"}},
         "Could not set playlist name. Cannot find playlist with invalid ID."},
        {"playlists:pl/setname", QJsonObject{{"plid", 1.5}, {"name", "x"}},
         "Could not set playlist name. Cannot find playlist with invalid ID."},
        {"playlists:pl/delete", QJsonObject{{"plid", true}}, "Could not delete playlist. Cannot find playlist with invalid ID."},
        {"playlists:pl/delete", QJsonObject{{"plid", 1e12}}, "Could not delete playlist. Cannot find playlist with invalid ID."},
        {"playlists:pl/clear", QJsonValue(), "Could not clear playlist. Cannot find playlist with invalid ID."},
        {"playlists:pl/setshuffle", QJsonObject{{"plid", plid}, {"mode", "sideways"}},
         "Could not set shuffle mode on playlist. Invalid shuffle mode. (shuffle-mode)"},
        {"playlists:pl/removeitems", QJsonObject{{"plid", plid}, {"items", "0,1"}},
         "Could not remove items from playlist. Please select one or more items to remove."},
        {"playlists:pl/moveitems", QJsonObject{{"plid", plid}, {"items", ints({1})}},
         "Could not move items in playlist. Cannot move items to negative position."},
        {"playlists:pl/additems", QJsonObject{{"plid", plid}, {"items", QJsonArray{"media:track/1"}}, {"mode", "later"}},
         "Could not add items to playlist. Invalid add mode. (mode)"},
        {"playlists:pl/additems", QJsonObject{{"plid", plid}, {"items", QJsonObject{}}},
         "Could not add items to playlist. Please select one or more items to add."},
        {"playlists:pl/addexternalitems", QJsonObject{{"plid", plid}, {"items", QJsonArray{1, "two", QJsonArray{}}}},
         "Could not add external items to playlist. Please select one or more items to add."},
        {"playlists:cl/additem", QJsonObject{{"clid", "1"}, {"plid", plid}},
         "Could not add items to collection. There is no collection with this ID."},
        {"playlists:cl/create", QJsonObject{{"name", QJsonObject{}}},
         "Could not create collection. Please provide a non-empty string as field. (name)"},
    };
    for (const Case& c : cases) {
        const HttpAnswer answer = command(c.path, c.value);
        EXPECT_EQ(answer.status, 200) << c.path;
        EXPECT_EQ(answer.errorMessage(), QString::fromUtf8(c.message)) << c.path;
    }

    QJsonArray many;
    for (int i = 0; i < 100000; ++i)
        many.append(i);
    EXPECT_FALSE(command("playlists:pl/removeitems", QJsonObject{{"plid", plid}, {"items", many}}).ok());
    EXPECT_FALSE(command("playlists:pl/moveitems", QJsonObject{{"plid", plid}, {"items", many}, {"to", 0}}).ok());
    EXPECT_EQ(store().titles(plid), kept);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM playlists WHERE uid > 0"), 1);
}

TEST_F(EndToEnd, FiftyThousandItemsAreCutToTheItemsLimit)
{
    const int plid = createPlayList("Huge");
    QJsonArray items;
    for (int i = 0; i < 50000; ++i) {
        const QString title = QStringLiteral("t%1").arg(i);
        const QString roles = QStringLiteral(R"({"type":3,"title":"%1","mediaData":{"resources":[{"uri":"u"}]}})").arg(title);
        items.append(QJsonObject{{"title", title}, {"url", "u"}, {"serviceId", "s"}, {"keloRoles", roles}});
    }
    const HttpAnswer answer = command("playlists:pl/addexternalitems", QJsonObject{{"plid", plid}, {"items", items}});
    EXPECT_TRUE(answer.ok()) << answer.status << " " << answer.errorMessage().toStdString();
    EXPECT_EQ(store().number(QStringLiteral("SELECT COUNT(*) FROM playlists_items WHERE playlist = %1").arg(plid)), 10000);
    EXPECT_EQ(store().titles(plid).last(), QStringLiteral("t9999"));
    EXPECT_TRUE(store().gaps().isEmpty());
    EXPECT_TRUE(command("playlists:pl/delete", QJsonObject{{"plid", plid}}).ok());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 0);
}
