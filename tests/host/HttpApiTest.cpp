// The HTTP API of a running kelo-host, through the test plug-in's worker and the settings.
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "HostTest.h"

namespace {

const char* const LimitPath = "settings:playlists/dbItemsLimit";

class HttpApi : public HostTest
{
protected:
    void SetUp() override { ASSERT_TRUE(start({"--plugin", HostProcess::testWorker(), "--reply-timeout-ms", "500"})); }
    QByteArray settingsFile() const
    {
        QFile file(dataDir() + "/data-rw/settings.json");
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    int limit() const { return value(LimitPath).value("i32_", -1).toInt(); }
    QString errorName(const QVariantHash& answer) const
    {
        return answer.value("error").toHash().value("name").toString();
    }
};

TEST_F(HttpApi, ASetDataRoundTripReachesThePluginWorkerAndComesBackUnchanged)
{
    const QVariantHash value = {{"name", "Mix"}, {"items", QVariantList{1, "media:track/2"}}};
    QVariantHash answer;
    ASSERT_EQ(m_host.post("/api/setData", jsonText(QVariantHash{{"path", "test:echo"}, {"value", value}}), &answer), 200);
    EXPECT_EQ(answer.value("value").toHash().value("received").toHash(), value);

    ASSERT_EQ(m_host.post("/api/getData", R"({"path": "test:echo"})", &answer), 200);
    EXPECT_EQ(answer.value("value").toString(), "echo");
}

TEST_F(HttpApi, WholeNumbersFromClientsReachWorkersAsInts)
{
    const QList<QPair<std::string, QString>> cases = {{"7", "int"}, {"7.0", "int"}, {"-3", "int"}, {"2.5", "double"}};
    for (const auto& c : cases) {
        QVariantHash answer;
        ASSERT_EQ(m_host.post("/api/setData", R"({"path": "test:echo", "value": )" + c.first + "}", &answer), 200);
        EXPECT_EQ(answer.value("value").toHash().value("type").toString(), c.second) << c.first;
    }
}

TEST_F(HttpApi, EveryOutcomeOfARequestHasItsStatusAndErrorName)
{
    struct Case
    {
        std::string endpoint, body;
        int status;
        const char* name;
    };
    const Case cases[] = {
        {"/api/setData", R"({"path": "test:fail", "value": 1})", 200, "Failed"},  // an errored reply is an answer
        {"/api/setData", R"({"path": "nosuchprefix:x", "value": 1})", 404, "NotFound"},
        {"/api/setData", R"({"path": "test:nosuchnode", "value": 1})", 404, "NotFound"},
        {"/api/setData", R"({"path": "test:refuse", "value": 1})", 404, "NotFound"},
        {"/api/getRows", R"({"path": "test:echo", "fromRow": 0, "toRow": 9})", 404, "NotFound"},
        {"/api/getData", R"({"path": "nosuchprefix:"})", 404, "NotFound"},
        {"/api/setData", R"({"path": "test:silent", "value": 1})", 504, "Timeout"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        QVariantHash answer;
        EXPECT_EQ(m_host.post(c.endpoint, c.body, &answer), c.status);
        EXPECT_EQ(errorName(answer), c.name);
        EXPECT_FALSE(answer.value("error").toHash().value("message").toString().isEmpty());
    }
    EXPECT_EQ(m_host.post("/api/setData", R"({"path": "test:echo", "value": 1})"), 200) << "the host goes on";
}

TEST_F(HttpApi, MalformedBodiesAreBadRequestsAndChangeNothing)
{
    const QByteArray before = settingsFile();
    const std::string goodValue = jsonText(i32Value(5));
    const QList<QPair<std::string, std::string>> requests = {
        {"/api/setData", ""},
        {"/api/setData", "path=settings:playlists/dbItemsLimit"},
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": )"},
        {"/api/setData", "[\"settings:playlists/dbItemsLimit\"]"},
        {"/api/setData", "\"settings:playlists/dbItemsLimit\""},
        {"/api/setData", R"({"value": )" + goodValue + "}"},
        {"/api/setData", R"({"path": ["settings:playlists/dbItemsLimit"], "value": )" + goodValue + "}"},
        {"/api/setData", R"({"path": "", "value": )" + goodValue + "}"},
        // A value of the wrong type for the setting is refused by the settings tree itself.
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": {"type": "bool_", "bool_": true}})"},
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": 5})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": "0", "toRow": 9})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0.5, "toRow": 9})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0, "toRow": 99999999999})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0, "toRow": 9, "roles": "title"})"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0, "toRow": 9, "roles": ["title", 3]})"},
        {"/api/getData", R"({"path": 12})"},
        {"/api/getData", R"({"path": "media:", "roles": [{"title": 1}]})"},
    };
    for (const auto& request : requests) {
        QVariantHash answer;
        EXPECT_EQ(m_host.post(request.first, request.second, &answer), 400) << request.first << " " << request.second;
        EXPECT_EQ(errorName(answer), "BadRequest") << request.second;
    }
    EXPECT_EQ(limit(), 10000);
    EXPECT_EQ(settingsFile(), before);
}

}  // namespace
