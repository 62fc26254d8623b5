// The HTTP API of a running kelo-host through the test plug-in's worker and the settings: what each
// request is answered, what the HTTP layer refuses (other hosts and origins, bodies of the wrong type,
// ambiguous framing, texts and values over their bounds), and what every answer carries.
#include <gtest/gtest.h>
#include <vector>

#include "HostTest.h"
#include "RawConnection.h"
#include "KeloJson.h"
#include "http/RequestBody.h"
#include "http/RequestGate.h"

namespace {

const char* const LimitPath = "settings:playlists/dbItemsLimit";
const std::string Json = "Content-Type: application/json\r\n";

std::string request(const std::string& method, const std::string& path, const std::string& headers,
                    const std::string& body = std::string())
{
    return method + " " + path + " HTTP/1.1\r\n" + headers + "Content-Length: " + std::to_string(body.size())
           + "\r\n\r\n" + body;
}

std::string setLimit(int value)
{
    return jsonText(QVariantHash{{"path", LimitPath}, {"value", i32Value(value)}});
}

class HttpApi : public HostTest
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(start({"--plugin", HostProcess::testWorker(), "--reply-timeout-ms", "500", "--allow-host", "Kelo.Local"}));
        m_local = "Host: 127.0.0.1:" + std::to_string(m_host.port()) + "\r\n";
    }
    int limit() const { return value(LimitPath).value("i32_", -1).toInt(); }
    // The status of one request on a connection of its own. Every answer, refusals included, carries
    // the protective headers, and those of the API are JSON.
    int send(const std::string& text) const
    {
        RawConnection connection(m_host.port());
        if (!connection.send(text))
            return -1;
        const std::string head = connection.readAnswer();
        const std::string what = text.substr(0, text.find('\r'));
        for (const char* header : {"Content-Security-Policy: default-src 'none'; script-src 'self'", "frame-ancestors 'none'",
                                   "X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer"})
            EXPECT_NE(head.find(header), std::string::npos) << what << ": " << header;
        const bool api = what.find(" /api/") != std::string::npos;
        EXPECT_TRUE(!api || head.find("Content-Type: application/json") != std::string::npos) << what;
        return statusOf(head);
    }

    std::string m_local;
};

TEST_F(HttpApi, ASetDataRoundTripReachesThePluginWorkerWithWholeNumbersAsIntsAndComesBackUnchanged)
{
    const QVariantHash value = {{"name", "Mix"}, {"items", QVariantList{1, "media:track/2"}}};
    QVariantHash answer;
    ASSERT_EQ(m_host.post("/api/setData", jsonText(QVariantHash{{"path", "test:echo"}, {"value", value}}), &answer), 200);
    EXPECT_EQ(answer.value("value").toHash().value("received").toHash(), value);

    for (const auto& c : QList<QPair<std::string, QString>>{{"7.0", "int"}, {"-3", "int"}, {"2.5", "double"}}) {
        ASSERT_EQ(m_host.post("/api/setData", R"({"path": "test:echo", "value": )" + c.first + "}", &answer), 200);
        EXPECT_EQ(answer.value("value").toHash().value("type").toString(), c.second) << c.first;
    }
}

TEST_F(HttpApi, EveryOutcomeOfARequestHasItsStatusAndErrorNameAndMalformedRequestsChangeNothing)
{
    const std::string good = jsonText(i32Value(5));
    const struct
    {
        std::string endpoint, body;
        int status;
        const char* name;
    } cases[] = {
        {"/api/setData", R"({"path": "test:fail", "value": 1})", 200, "Failed"},  // an errored reply is an answer
        {"/api/setData", R"({"path": "nosuchprefix:x", "value": 1})", 404, "NotFound"},
        {"/api/setData", R"({"path": "test:refuse", "value": 1})", 404, "NotFound"},
        {"/api/getData", R"({"path": "nosuchprefix:"})", 404, "NotFound"},
        {"/api/setData", R"({"path": "test:silent", "value": 1})", 504, "Timeout"},
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": )", 400, "BadRequest"},
        {"/api/setData", "[\"settings:playlists/dbItemsLimit\"]", 400, "BadRequest"},
        {"/api/setData", R"({"path": "", "value": )" + good + "}", 400, "BadRequest"},
        // A value of the wrong type for the setting is refused by the settings tree itself.
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": {"type": "bool_", "bool_": true}})", 400, "BadRequest"},
        {"/api/setData", R"({"path": "settings:playlists/dbItemsLimit", "value": 5})", 400, "BadRequest"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0.5, "toRow": 9})", 400, "BadRequest"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0, "toRow": 99999999999})", 400, "BadRequest"},
        {"/api/getRows", R"({"path": "media:", "fromRow": 0, "toRow": 9, "roles": "title"})", 400, "BadRequest"},
        {"/api/getData", R"({"path": 12})", 400, "BadRequest"},
        {"/api/getData", R"({"path": "media:", "roles": [{"title": 1}]})", 400, "BadRequest"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.endpoint + " " + c.body);
        QVariantHash answer;
        EXPECT_EQ(m_host.post(c.endpoint, c.body, &answer), c.status);
        EXPECT_EQ(answer.value("error").toHash().value("name").toString(), c.name);
        EXPECT_FALSE(answer.value("error").toHash().value("message").toString().isEmpty());
    }
    EXPECT_EQ(m_host.post("/api/setData", R"({"path": "test:echo", "value": 1})"), 200) << "the host goes on";
    EXPECT_EQ(limit(), 10000);
}

TEST_F(HttpApi, RequestsFromAnotherPageOrHostWithoutTheJsonTypeOrOfUnclearLengthAreRefusedAndEveryAnswerCarriesTheProtectiveHeaders)
{
    const std::string port = ":" + std::to_string(m_host.port());
    const std::pair<std::string, int> refused[] = {
        {m_local + "Content-Type: text/plain\r\n", 415},
        {m_local + Json + "Origin: null\r\n", 403},
        {m_local + Json + "Origin: http://evil.example\r\n", 403},
        {m_local + Json + "Origin: http://127.0.0.1:" + std::to_string(m_host.port() + 1) + "\r\n", 403},
        {m_local + Json + "Content-Length: 5\r\n", 400},  // a second length that disagrees: the body's end is unknown
        {Json, 403},                                        // no Host at all
    };
    for (const auto& headers : refused)
        EXPECT_EQ(send(request("POST", "/api/setData", headers.first, setLimit(7))), headers.second) << headers.first;
    for (const std::string& host : std::vector<std::string>{"evil.example" + port, "127.0.0.2" + port, "localhost.evil.example", ""}) {
        const std::string header = "Host: " + host + "\r\n";
        EXPECT_EQ(send(request("POST", "/api/setData", header + Json, setLimit(7))), 403) << host;
        EXPECT_EQ(send(request("GET", "/api/events", header)), 403) << host;
        EXPECT_EQ(send(request("GET", "/", header)), 403) << host;
    }
    EXPECT_EQ(limit(), 10000);

    for (const std::string& host : std::vector<std::string>{"localhost" + port, "LOCALHOST", "kelo.local" + port, "127.0.0.1"})
        EXPECT_EQ(send(request("POST", "/api/getData", "Host: " + host + "\r\n" + Json, jsonText(QVariantHash{{"path", LimitPath}}))), 200)
            << host;
    const std::string ownOrigin = "Origin: http://127.0.0.1" + port + "\r\n";
    EXPECT_EQ(send(request("POST", "/api/setData", m_local + ownOrigin + Json, setLimit(7))), 200);
    EXPECT_EQ(limit(), 7);
    EXPECT_EQ(send(request("GET", "/", m_local)), 200);
    EXPECT_EQ(send(request("GET", "/api/nothing", m_local)), 404);
}

TEST_F(HttpApi, LongTextsAndTooManyValuesAreRefused)
{
    const QVariantHash longName{{"path", LimitPath}, {"value", i32Value(7)}, {"name", QString(16385, QChar('n'))}};
    QVariantHash answer;
    EXPECT_EQ(m_host.post("/api/setData", jsonText(longName), &answer), 400);
    EXPECT_TRUE(answer.value("error").toHash().value("message").toString().contains("16384"));

    // Small values cost far more decoded than as text: their number is bounded before decoding. Commas
    // and brackets inside strings are text, not values.
    std::string many = R"({"path": "settings:playlists/dbItemsLimit", "value": )" + jsonText(i32Value(7)) + R"(, "padding": [)";
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

TEST(RequestBodyValues, AValueSentOnAsTextKeepsTheBodyItPointsIntoAlive)
{
    // A handler may still read the value after the HTTP side gave up waiting and dropped the body.
    KeloJsonText sent;
    {
        std::string text = R"({"path": "p:x", "value": {"items": [1, 2, 3]}})";
        RequestBody body;
        CMError error;
        ASSERT_TRUE(body.parse(std::move(text), &error));
        sent = body.valueAsSent(QStringLiteral("value")).value<KeloJsonText>();
    }
    EXPECT_EQ(sent.utf8, R"({"items": [1, 2, 3]})");
    EXPECT_EQ(KeloJson::parse(sent.utf8).toHash().value("items").toList().size(), 3);
}
