// The settings tree of kelo-host: set and read through the API, kept across restarts, overridden at start.
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "HostProcess.h"

namespace {

class Settings : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString dataDir() const { return m_dir.filePath(QStringLiteral("data")); }
    bool start(const QStringList& arguments = {})
    {
        const bool started = m_host.start(dataDir(), arguments);
        EXPECT_TRUE(started) << m_host.errorOutput().toStdString();
        return started;
    }
    QVariantHash value(const char* path) const
    {
        QVariantHash answer;
        EXPECT_EQ(m_host.post("/api/getData", jsonText(QVariantHash{{QStringLiteral("path"), path}}), &answer), 200);
        return answer.value(QStringLiteral("value")).toHash();
    }

    QTemporaryDir m_dir;
    HostProcess m_host;
};

TEST_F(Settings, AValueSetThroughTheApiIsAnsweredReadBackAndKeptAcrossARestart)
{
    const QVariantHash vacuum = {{QStringLiteral("type"), QStringLiteral("bool_")}, {QStringLiteral("bool_"), true}};
    ASSERT_TRUE(start());
    EXPECT_EQ(value("settings:playlists/dbVacuum").value(QStringLiteral("bool_")), false);
    QVariantHash answer;
    ASSERT_EQ(m_host.post("/api/setData",
                          jsonText(QVariantHash{{QStringLiteral("path"), QStringLiteral("settings:playlists/dbVacuum")},
                                                {QStringLiteral("value"), vacuum}}),
                          &answer),
              200);
    EXPECT_EQ(answer.value(QStringLiteral("value")).toHash(), vacuum);
    EXPECT_EQ(value("settings:playlists/dbVacuum"), vacuum);
    ASSERT_EQ(m_host.stop(), 0);

    ASSERT_TRUE(start());
    EXPECT_EQ(value("settings:playlists/dbVacuum"), vacuum);
    EXPECT_EQ(value("powermanager:target").value(QStringLiteral("powerTarget")).toHash().value(QStringLiteral("target")), 1);
}

TEST_F(Settings, AStartUpOverrideIsInForceAtOnceAndStaysAfterARestartWithoutIt)
{
    ASSERT_TRUE(start({QStringLiteral("--set"),
                       QStringLiteral("settings:playlists/dbItemsLimit=") + QString::fromStdString(jsonText(i32Value(0)))}));
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
    ASSERT_EQ(m_host.stop(), 0);
    ASSERT_TRUE(start());
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
}

TEST_F(Settings, AnOverrideThatCannotApplyEndsTheHostWithStatus2AndSaysWhy)
{
    const QStringList overrides = {
        QStringLiteral("settings:playlists/dbItemsLimit=5"),
        QStringLiteral("settings:playlists/dbItemsLimit={\"type\":\"i32_\""),
        QStringLiteral("settings:playlists/dbItemsLimit={\"type\":\"bool_\",\"bool_\":true}"),
        QStringLiteral("media:album/1={\"type\":\"i32_\",\"i32_\":1}"),
        QStringLiteral("no-equals-sign"),
    };
    for (const QString& setting : overrides) {
        EXPECT_EQ(m_host.runToExit(dataDir(), {QStringLiteral("--set"), setting}), 2) << setting.toStdString();
        EXPECT_TRUE(m_host.errorOutput().contains(QStringLiteral("--set"))) << m_host.errorOutput().toStdString();
    }
}

}  // namespace
