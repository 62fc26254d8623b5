// How kelo-host starts: which plug-ins it loads, where it may listen, who may talk to it, which
// settings it keeps across a restart.
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include "EventReader.h"
#include "HostTest.h"

namespace {

using Startup = HostTest;

TEST_F(Startup, WhatCannotWorkEndsTheHostWithStatus2AndSaysWhy)
{
    const QList<QPair<QStringList, QString>> refused = {
        {{"--listen", "0.0.0.0:0"}, "--token"},  // outside the loopback without a token
        {{"--token", "fifteen-chars-x"}, "16 characters"},
        {{"--token-file", m_dir.filePath("missing")}, "missing"},
        {{"--plugin", m_dir.filePath("missing.so")}, "missing.so"},
        {{"--plugin", HostProcess::libDir() + "/libkelo_sdk.so"}, "libkelo_sdk.so"},
        {{"--player", "loud"}, "--player"},
        {{"--player", "audio", "--audio-sink", "nosuchsink-kelo"}, "nosuchsink-kelo"},
        {{"--set", "settings:playlists/dbItemsLimit=5"}, "--set"},
        {{"--set", "settings:playlists/dbItemsLimit={\"type\":\"bool_\",\"bool_\":true}"}, "--set"},
        {{"--set", "media:album/1={\"type\":\"i32_\",\"i32_\":1}"}, "--set"},
        {{"--set", "no-equals-sign"}, "--set"},
    };
    for (const auto& start : refused) {
        SCOPED_TRACE(start.first.join(' ').toStdString());
        EXPECT_EQ(m_host.runToExit(dataDir(), start.first), 2);
        EXPECT_TRUE(m_host.errorOutput().contains(start.second)) << m_host.errorOutput().toStdString();
    }

    ASSERT_TRUE(start());
    HostProcess second;
    const QString address = QStringLiteral("127.0.0.1:%1").arg(m_host.port());
    EXPECT_EQ(second.runToExit(m_dir.filePath("second"), {"--listen", address}), 2);
    EXPECT_TRUE(second.errorOutput().contains("cannot listen on " + address)) << second.errorOutput().toStdString();
}

TEST_F(Startup, WithATokenEveryApiRequestMustCarryItOrTheSessionCookieItBuysAndNoLogShowsIt)
{
    const std::string token = "s3cret-s3cret-16";  // the shortest token allowed
    const std::string bearer = "Bearer " + token;
    ASSERT_TRUE(writeFile(m_dir.filePath("token"), QByteArray::fromStdString(token + "\n")));
    // Everything logged, to see that the token is not.
    ASSERT_TRUE(writeFile(m_dir.filePath("log.properties"), "log4cplus.rootLogger=TRACE, ERR\n"
                                                           "log4cplus.appender.ERR=log4cplus::ConsoleAppender\n"
                                                           "log4cplus.appender.ERR.logToStdErr=true\n"));
    ASSERT_TRUE(start({"--listen", "0.0.0.0:0", "--token-file", m_dir.filePath("token"), "--log-config", m_dir.filePath("log.properties")}));
    const std::string body = R"({"path": "settings:playlists/dbVacuum"})";
    QVariantHash answer;
    EXPECT_EQ(m_host.post("/api/getData", body, &answer), 401);
    EXPECT_EQ(answer.value("error").toHash().value("name"), "Unauthorized");
    EXPECT_EQ(m_host.post("/api/session", "{}"), 401);
    // The page itself needs no token: it is what asks the person for it.
    EXPECT_EQ(statusOf(m_host.client()->Get("/")), 200);

    const httplib::Result session = m_host.client()->Post("/api/session", {{"Authorization", bearer}}, "{}", "application/json");
    ASSERT_TRUE(session);
    ASSERT_EQ(session->status, 200);
    const std::string cookie = session->get_header_value("Set-Cookie");
    EXPECT_NE(cookie.find("HttpOnly"), std::string::npos) << cookie;
    EXPECT_NE(cookie.find("SameSite=Strict"), std::string::npos) << cookie;
    EXPECT_EQ(cookie.find(token), std::string::npos) << "the cookie is not the token";
    const std::string pair = cookie.substr(0, cookie.find(';'));
    const std::pair<std::pair<std::string, std::string>, int> credentials[] = {
        {{"Authorization", bearer.substr(0, bearer.size() - 1)}, 401}, {{"Authorization", bearer + "!"}, 401},
        {{"Cookie", pair + "0"}, 401}, {{"Authorization", bearer}, 200}, {{"Cookie", "other=1; " + pair}, 200}};
    for (const auto& c : credentials)
        EXPECT_EQ(m_host.post("/api/getData", body, nullptr, {c.first}), c.second) << c.first.second;

    EventReader refused(m_host.port());
    EXPECT_TRUE(refused.waitEnded());
    EXPECT_EQ(refused.status(), 401);
    EventReader withCookie(m_host.port(), {{"Cookie", pair}});
    EXPECT_TRUE(withCookie.waitConnected());
    m_host.stop();
    EXPECT_TRUE(m_host.errorOutput().contains("listening on")) << "the log was written";
    EXPECT_FALSE(m_host.errorOutput().contains(QString::fromStdString(token)));
}

TEST_F(Startup, TheWebPageIsServedFromItsFolderAndNothingOutsideItOrSaidToBeNotBuilt)
{
    const QString web = m_dir.filePath("web");
    ASSERT_TRUE(QDir().mkpath(web + "/js"));
    ASSERT_TRUE(writeFile(web + "/index.html", "<!doctype html><p>hello</p>") && writeFile(web + "/js/app.js", "export const a = 1;")
                && writeFile(web + "/.secret", "hidden"));
    ASSERT_TRUE(writeFile(m_dir.filePath("outside.txt"), "outside"));
    ASSERT_TRUE(QFile::link(m_dir.filePath("outside.txt"), web + "/inside.txt"));
    ASSERT_TRUE(m_host.start(dataDir(), {"--web-root", web})) << m_host.errorOutput().toStdString();
    auto client = m_host.client();
    auto index = client->Get("/");
    ASSERT_TRUE(index);
    EXPECT_EQ(index->body, "<!doctype html><p>hello</p>");
    EXPECT_EQ(index->get_header_value("Content-Type"), "text/html; charset=utf-8");
    auto script = client->Get("/js/app.js");
    ASSERT_TRUE(script);
    EXPECT_EQ(script->get_header_value("Content-Type"), "text/javascript; charset=utf-8");
    for (const char* path : {"/.secret", "/js/../../outside.txt", "/%2e%2e/outside.txt", "/inside.txt", "/nothing.html"})
        EXPECT_EQ(statusOf(client->Get(path)), 404) << path;

    m_host.stop();
    ASSERT_TRUE(start({"--web-root", m_dir.filePath("none")}));
    const httplib::Result page = m_host.client()->Get("/");
    ASSERT_TRUE(page);
    EXPECT_NE(page->body.find("not built"), std::string::npos) << "without its folder the root says the page is not built";
}

// A setting set through the API is kept by the settings tree itself; here, where the host keeps it.
TEST_F(Startup, SettingsSetAtStartUpAreInForceAtOnceAndKeptAcrossARestart)
{
    const QString nested = m_dir.filePath("a/b/data");  // the host creates what is missing
    ASSERT_TRUE(start({"--set", "settings:playlists/dbItemsLimit=" + QString::fromStdString(jsonText(i32Value(0)))}, nested));
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
    ASSERT_EQ(m_host.stop(), 0);
    EXPECT_TRUE(QFile::exists(nested + "/data-rw/settings.json"));

    ASSERT_TRUE(start({}, nested));  // without the override
    EXPECT_EQ(value("settings:playlists/dbItemsLimit"), i32Value(0));
    EXPECT_EQ(value("powermanager:target").value("powerTarget").toHash().value("target"), 1);
}

}  // namespace
