// The settings tree of kelo-host: set and read through the API, kept across restarts, overridden at start.
#include <QFile>

#include "HostTest.h"

namespace {

using Settings = HostTest;

TEST_F(Settings, ValuesSetThroughTheApiOrAtStartUpAreInForceAtOnceAndKeptAcrossARestart)
{
    const QVariantHash vacuum = {{"type", "bool_"}, {"bool_", true}};
    const QString nested = m_dir.filePath("a/b/data");  // the host creates what is missing
    ASSERT_TRUE(start({"--set", "settings:playlists/dbItemsLimit=" + QString::fromStdString(jsonText(i32Value(0)))}, nested));
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
    EXPECT_EQ(value("settings:playlists/dbVacuum").value("bool_"), false);
    QVariantHash answer;
    const QVariantHash request = {{"path", "settings:playlists/dbVacuum"}, {"value", vacuum}};
    ASSERT_EQ(m_host.post("/api/setData", jsonText(request), &answer), 200);
    EXPECT_EQ(answer.value("value").toHash(), vacuum);
    EXPECT_EQ(value("settings:playlists/dbVacuum"), vacuum);
    ASSERT_EQ(m_host.stop(), 0);
    EXPECT_TRUE(QFile::exists(nested + "/data-rw/settings.json"));

    ASSERT_TRUE(start({}, nested));  // without the override
    EXPECT_EQ(value("settings:playlists/dbVacuum"), vacuum);
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
    EXPECT_EQ(value("powermanager:target").value("powerTarget").toHash().value("target"), 1);
}

TEST_F(Settings, AnOverrideThatCannotApplyEndsTheHostWithStatus2AndSaysWhy)
{
    const QStringList overrides = {
        "settings:playlists/dbItemsLimit=5",
        "settings:playlists/dbItemsLimit={\"type\":\"i32_\"",
        "settings:playlists/dbItemsLimit={\"type\":\"bool_\",\"bool_\":true}",
        "media:album/1={\"type\":\"i32_\",\"i32_\":1}",
        "no-equals-sign",
    };
    for (const QString& setting : overrides) {
        EXPECT_EQ(m_host.runToExit(dataDir(), {"--set", setting}), 2) << setting.toStdString();
        EXPECT_TRUE(m_host.errorOutput().contains("--set")) << m_host.errorOutput().toStdString();
    }
}

}  // namespace
