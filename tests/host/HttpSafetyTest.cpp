// What the HTTP layer refuses: other hosts and origins, bodies of the wrong type or of any framing
// over the limit, ambiguous framing; and what every answer carries.
#include <QFile>
#include <gtest/gtest.h>
#include <vector>

#include "HostTest.h"
#include "KeloJson.h"
#include "RawConnection.h"
#include "http/RequestGate.h"

namespace {

const char* const LimitPath = "settings:playlists/dbItemsLimit";

std::string request(const std::string& method, const std::string& path, const std::string& headers,
                    const std::string& body = std::string())
{
    return method + " " + path + " HTTP/1.1\r\n" + headers + "Content-Length: " + std::to_string(body.size())
           + "\r\n\r\n" + body;
}

class HttpSafety : public HostTest
{
protected:
    void startHost(const QStringList& arguments = {})
    {
        ASSERT_TRUE(start(arguments));
        m_local = "Host: 127.0.0.1:" + std::to_string(m_host.port()) + "\r\n";
    }
    int limit() const { return value(LimitPath).value("i32_", -1).toInt(); }
    // The status of one request on a connection of its own.
    int send(const std::string& text) const
    {
        RawConnection connection(m_host.port());
        return connection.send(text) ? statusOf(connection.readAnswer()) : -1;
    }
    std::string setLimit(int value) const
    {
        return jsonText(QVariantHash{{"path", LimitPath}, {"value", i32Value(value)}});
    }

    std::string m_local;
};

TEST_F(HttpSafety, AStateChangeFromAnotherPageOrWithoutTheJsonTypeIsRefusedAndChangesNothing)
{
    startHost();
    const std::string json = "Content-Type: application/json\r\n";
    const std::pair<std::string, int> refused[] = {
        {"Content-Type: text/plain\r\n", 415},
        {"Content-Type: application/x-www-form-urlencoded\r\n", 415},
        {"Content-Type: multipart/form-data; boundary=x\r\n", 415},
        {"", 415},
        {json + "Origin: null\r\n", 403},
        {json + "Origin: http://evil.example\r\n", 403},
        {json + "Origin: http://127.0.0.1:" + std::to_string(m_host.port() + 1) + "\r\n", 403},
    };
    for (const auto& headers : refused)
        EXPECT_EQ(send(request("POST", "/api/setData", m_local + headers.first, setLimit(7))), headers.second)
            << headers.first;
    EXPECT_EQ(limit(), 10000);

    const std::string ownOrigin = "Origin: http://127.0.0.1:" + std::to_string(m_host.port()) + "\r\n";
    EXPECT_EQ(send(request("POST", "/api/setData", m_local + ownOrigin + "Content-Type: Application/JSON; charset=utf-8\r\n",
                           setLimit(7))),
              200);
    EXPECT_EQ(limit(), 7);
}

TEST_F(HttpSafety, OnlyTheListeningAddressLocalhostAndAllowedNamesAreAnswered)
{
    startHost({"--allow-host", "Kelo.Local"});
    const std::string port = ":" + std::to_string(m_host.port());
    const std::string json = "Content-Type: application/json\r\n";
    for (const std::string& host : std::vector<std::string>{"evil.example" + port, "127.0.0.2" + port, "localhost.evil.example", ""}) {
        const std::string header = "Host: " + host + "\r\n";
        EXPECT_EQ(send(request("POST", "/api/setData", header + json, setLimit(7))), 403) << host;
        EXPECT_EQ(send(request("GET", "/api/events", header)), 403) << host;
        EXPECT_EQ(send(request("GET", "/", header)), 403) << host;
    }
    EXPECT_EQ(send(request("GET", "/", "")), 403) << "no Host at all";
    EXPECT_EQ(limit(), 10000);
    for (const std::string& host : std::vector<std::string>{"localhost" + port, "LOCALHOST", "kelo.local" + port, "127.0.0.1"})
        EXPECT_EQ(send(request("POST", "/api/getData", "Host: " + host + "\r\n" + json,
                               jsonText(QVariantHash{{"path", LimitPath}}))),
                  200)
            << host;
}

TEST_F(HttpSafety, EveryAnswerCarriesTheProtectiveHeadersAndApiAnswersAreJson)
{
    startHost();
    const std::string json = "Content-Type: application/json\r\n";
    const std::string requests[] = {
        request("GET", "/", m_local),
        request("GET", "/js/api.js", m_local),
        request("GET", "/missing.html", m_local),
        request("POST", "/api/getData", m_local + json, jsonText(QVariantHash{{"path", LimitPath}})),
        request("POST", "/api/setData", m_local, "{}"),
        request("GET", "/api/nothing", m_local),
        request("POST", "/api/nothing", m_local + json, "{}"),
    };
    for (const std::string& text : requests) {
        RawConnection connection(m_host.port());
        ASSERT_TRUE(connection.send(text));
        std::string body;
        const std::string head = connection.readAnswer(&body);
        const std::string what = text.substr(0, text.find('\r'));
        EXPECT_NE(head.find("Content-Security-Policy: default-src 'none'; script-src 'self'"), std::string::npos) << what;
        EXPECT_NE(head.find("frame-ancestors 'none'"), std::string::npos) << what;
        EXPECT_NE(head.find("X-Content-Type-Options: nosniff"), std::string::npos) << what;
        EXPECT_NE(head.find("Referrer-Policy: no-referrer"), std::string::npos) << what;
        if (what.find(" /api/") != std::string::npos) {
            EXPECT_NE(head.find("Content-Type: application/json"), std::string::npos) << what;
            EXPECT_TRUE(KeloJson::parse(QByteArray::fromStdString(body)).toHash().contains("error")
                        || statusOf(head) == 200)
                << what << body;
        }
    }
}

TEST_F(HttpSafety, AmbiguousFramingLongTextsAndTooManyValuesAreRefused)
{
    startHost();
    const std::string json = "Content-Type: application/json\r\n";
    // Two lengths that disagree, or a length beside chunked framing, leave the body's end unknown.
    const std::string body = setLimit(7);
    const std::string lengths[] = {
        "Content-Length: 5\r\n",
        "Content-Length: " + std::to_string(body.size()) + "0\r\n",
        "Transfer-Encoding: chunked\r\n",
    };
    for (const std::string& second : lengths)
        EXPECT_EQ(send(request("POST", "/api/setData", m_local + json + second, body)), 400) << second;

    const QVariantHash longName{{"path", LimitPath}, {"value", i32Value(7)}, {"name", QString(16385, QChar('n'))}};
    QVariantHash answer;
    EXPECT_EQ(m_host.post("/api/setData", jsonText(longName), &answer), 400);
    EXPECT_TRUE(answer.value("error").toHash().value("message").toString().contains("16384"));

    // Small values cost far more decoded than as text: their number is bounded before decoding. Commas
    // and brackets inside strings are text, not values.
    std::string many = R"({"path": "settings:playlists/dbItemsLimit", "value": )" + jsonText(i32Value(7))
                       + R"(, "padding": [)";
    for (int i = 0; i < 600000; ++i)
        many += "{},";
    many += "{}]}";
    EXPECT_EQ(m_host.post("/api/setData", many, &answer), 400);
    EXPECT_TRUE(answer.value("error").toHash().value("message").toString().contains("600000 JSON values"));
    const std::string commas = R"({"path": "settings:playlists/dbItemsLimit", "value": )" + jsonText(i32Value(8))
                               + R"(, "note": ")" + std::string(300000, ',') + "\"}";
    EXPECT_EQ(m_host.post("/api/setData", commas, &answer), 400);  // refused for its long text, not its commas
    EXPECT_TRUE(answer.value("error").toHash().value("message").toString().contains("16384"));
    EXPECT_EQ(limit(), 10000);
}

}  // namespace

TEST(RequestGateBodyTypes, JsonBodiesNeedTheJsonTypeAndFileBodiesAnyTypeAPageCannotSendWithoutAsking)
{
    using Kind = RequestGate::BodyKind;
    for (const char* type : {"application/json", "Application/JSON", " application/json ; charset=utf-8"})
        EXPECT_TRUE(RequestGate::bodyTypeProblem(type, Kind::Json).isEmpty()) << type;
    for (const char* type : {"", "text/plain", "application/jsonx", "application/x-www-form-urlencoded"})
        EXPECT_FALSE(RequestGate::bodyTypeProblem(type, Kind::Json).isEmpty()) << type;

    for (const char* type : {"audio/x-mpegurl", "application/xspf+xml", "application/json", "application/octet-stream"})
        EXPECT_TRUE(RequestGate::bodyTypeProblem(type, Kind::File).isEmpty()) << type;
    for (const char* type : {"", "  ", "text/plain; charset=utf-8", "TEXT/PLAIN", "application/x-www-form-urlencoded",
                             "multipart/form-data; boundary=x"})
        EXPECT_FALSE(RequestGate::bodyTypeProblem(type, Kind::File).isEmpty()) << type;
}
