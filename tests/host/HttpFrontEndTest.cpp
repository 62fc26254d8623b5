// The HTTP server's door: waiting connections (idle, slow heads, slow bodies) hold no worker and are
// bounded in time and number, and the framing of requests is read right before a worker sees them.
#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

#include "RawConnection.h"
#include "http/HttpServer.h"
#include "http/RequestFraming.h"

namespace {

using RequestFraming::Body;
using RequestFraming::Progress;

// An HttpServer in this process with a few routes: GET /ping, GET /wait (until m_released), POST
// /echo, which answers its body, and POST /measure, which takes large bodies and answers their size
// and their first and last bytes.
class FrontEndServer : public ::testing::Test
{
protected:
    void start(const FrontEnd::Limits& limits = HttpServer::defaultLimits())
    {
        m_server = std::make_unique<HttpServer>(HttpAccess{QString(), QStringLiteral("127.0.0.1"), {}}, limits);
        m_server->server().Get("/ping", [](const httplib::Request&, httplib::Response& res) {
            res.set_content("pong", "text/plain");
        });
        m_server->server().Get("/wait", [this](const httplib::Request&, httplib::Response& res) {
            ++m_waiting;
            while (!m_released)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            res.set_content("waited", "text/plain");
        });
        m_server->post("/echo", 1 << 20, [](const httplib::Request&, const std::string& body, httplib::Response& res) {
            res.set_content(body, "application/json");
        });
        m_server->post("/measure", 3 << 20, [](const httplib::Request&, const std::string& body, httplib::Response& res) {
            const std::string ends = body.empty() ? std::string() : body.substr(0, 1) + body.substr(body.size() - 1);
            res.set_content(std::to_string(body.size()) + " " + ends, "text/plain");
        });
        QString error;
        m_port = m_server->bind(QStringLiteral("127.0.0.1"), 0, &error);
        ASSERT_GT(m_port, 0) << error.toStdString();
        ASSERT_TRUE(m_server->start());
        m_host = "Host: 127.0.0.1:" + std::to_string(m_port) + "\r\n";
    }
    void TearDown() override
    {
        m_released = true;
        m_server.reset();
    }
    std::string get(const std::string& path) const { return "GET " + path + " HTTP/1.1\r\n" + m_host + "\r\n"; }
    std::string echo(const std::string& body) const { return withLength("/echo", body); }
    std::string chunked(const std::string& path, const std::string& body) const
    {
        std::string text = "POST " + path + " HTTP/1.1\r\n" + m_host + "Content-Type: application/json\r\n"
                           + "Transfer-Encoding: chunked\r\n\r\n";
        for (size_t at = 0; at < body.size(); at += 100000) {
            const std::string chunk = body.substr(at, 100000);
            char size[16];
            std::snprintf(size, sizeof size, "%zx\r\n", chunk.size());
            text += size + chunk + "\r\n";
        }
        return text + "0\r\n\r\n";
    }
    std::string withLength(const std::string& path, const std::string& body) const
    {
        return "POST " + path + " HTTP/1.1\r\n" + m_host + "Content-Type: application/json\r\nContent-Length: "
               + std::to_string(body.size()) + "\r\n\r\n" + body;
    }
    std::unique_ptr<RawConnection> connect() const { return std::make_unique<RawConnection>(m_port); }

    std::unique_ptr<HttpServer> m_server;
    int m_port = -1;
    std::string m_host;
    std::atomic<bool> m_released{false};
    std::atomic<int> m_waiting{0};
};

}  // namespace

TEST(RequestFraming, FindsWhereARequestEndsHoweverItsBodyIsFramed)
{
    RequestFraming::Head head;
    const std::string get = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
    EXPECT_EQ(RequestFraming::readHead(get.substr(0, 20), 1024, 100, &head), Progress::NeedMore);
    ASSERT_EQ(RequestFraming::readHead(get + "GET /next", 1024, 100, &head), Progress::Complete);
    EXPECT_EQ(head.bytes, get.size());
    EXPECT_EQ(head.body, Body::None);

    const std::string post = "POST / HTTP/1.1\r\ncontent-LENGTH: 12\r\nContent-Length: 12\r\nExpect: 100-continue\r\n\r\n";
    ASSERT_EQ(RequestFraming::readHead(post, 1024, 100, &head), Progress::Complete);
    EXPECT_EQ(head.body, Body::Length);
    EXPECT_EQ(head.length, 12u);

    for (const char* unclear : {"Content-Length: 5\r\nContent-Length: 6\r\n", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
                                "Content-Length: -5\r\n", "Transfer-Encoding: gzip\r\n"}) {
        ASSERT_EQ(RequestFraming::readHead(std::string("POST / HTTP/1.1\r\n") + unclear + "\r\n", 1024, 100, &head), Progress::Complete);
        EXPECT_EQ(head.body, Body::Unclear) << unclear;
    }

    // Chunks with an extension and a trailer field, received a few bytes at a time.
    const std::string chunked = "4;name=value\r\nWiki\r\n5\r\npedia\r\n0\r\nTrailer: x\r\n\r\n";
    RequestFraming::Chunks chunks;
    for (size_t received = 1; received < chunked.size(); ++received)
        ASSERT_EQ(RequestFraming::readChunks(chunked.substr(0, received), 100, &chunks), Progress::NeedMore) << received;
    ASSERT_EQ(RequestFraming::readChunks(chunked + "GET /next", 100, &chunks), Progress::Complete);
    EXPECT_EQ(chunks.at, chunked.size());
    EXPECT_EQ(chunks.carried, 9u);
}

TEST(RequestFraming, RefusesWhatIsTooLargeOrCannotBeRead)
{
    RequestFraming::Head head;
    EXPECT_EQ(RequestFraming::readHead("GET / HTTP/1.1\r\nX: " + std::string(100, 'x'), 64, 100, &head), Progress::TooLarge);
    EXPECT_EQ(RequestFraming::readHead("POST / HTTP/1.1\r\nContent-Length: 101\r\n\r\n", 1024, 100, &head), Progress::TooLarge);
    EXPECT_EQ(RequestFraming::readHead("POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n", 1024, 100, &head),
              Progress::Complete);
    EXPECT_EQ(head.body, Body::Unclear);

    // A chunk that would pass the bound is refused before its bytes arrive.
    RequestFraming::Chunks chunks;
    EXPECT_EQ(RequestFraming::readChunks("40\r\n" + std::string(64, 'x') + "\r\n41\r\n", 100, &chunks), Progress::TooLarge);
    for (const std::string& bad : {std::string("zz\r\n"), std::string("3\r\nabcd\r\n"), std::string(2000, '1'),
                                   std::string("ffffffffffffffffff\r\n")}) {
        chunks = RequestFraming::Chunks();
        const Progress progress = RequestFraming::readChunks(bad, 1u << 30, &chunks);
        EXPECT_TRUE(progress == Progress::Malformed || progress == Progress::TooLarge) << bad.substr(0, 20);
    }
}

TEST_F(FrontEndServer, OrdinaryRequestsAreAnsweredPromptlyWhileHundredsOfSlowAndIdleConnectionsWait)
{
    start();
    std::vector<std::unique_ptr<RawConnection>> idle, slow;
    for (int i = 0; i < 200; ++i) {
        idle.push_back(connect());
        slow.push_back(connect());
        slow.back()->send("GET /ping HTTP/1.1\r\n");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));

    // A waiting connection that held a worker would stall these answers past the read timeout. The
    // slow connections go on sending all the while.
    auto kept = connect();
    for (int i = 0; i < 10; ++i) {
        for (const auto& connection : slow)
            connection->send("X");
        auto fresh = connect();
        ASSERT_TRUE(fresh->send(get("/ping")));
        EXPECT_EQ(statusOf(fresh->readAnswer()), 200) << "request " << i;
        ASSERT_TRUE(kept->send(echo("{}")));
        std::string body;
        EXPECT_EQ(statusOf(kept->readAnswer(&body)), 200) << "request " << i << " on a kept connection";
        EXPECT_EQ(body, "{}");
    }
}

TEST_F(FrontEndServer, AClientOverItsCapLosesAWaitingConnectionNeverAnsweredAndIsRefusedOnlyWhenAllAreBeingAnswered)
{
    FrontEnd::Limits limits = HttpServer::defaultLimits();
    limits.perClient = 8;
    start(limits);
    auto kept = connect();  // the longest idle, but in use
    ASSERT_TRUE(kept->send(get("/ping")));
    ASSERT_EQ(statusOf(kept->readAnswer()), 200);
    std::vector<std::unique_ptr<RawConnection>> waiting;
    waiting.push_back(connect());
    waiting.back()->send("GET /ping HTTP/1.1\r\n");  // a head under way goes after the idle ones
    for (int i = 1; i < 7; ++i) {
        waiting.push_back(connect());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    auto newcomer = connect();
    ASSERT_TRUE(newcomer->send(get("/ping")));
    EXPECT_EQ(statusOf(newcomer->readAnswer()), 200);
    EXPECT_TRUE(waiting[1]->closedWithin(2000)) << "the longest idle connection never answered";
    EXPECT_FALSE(waiting[0]->closedWithin(0));
    for (int i = 2; i < 7; ++i)
        EXPECT_FALSE(waiting[i]->closedWithin(0)) << i;
    ASSERT_TRUE(kept->send(get("/ping")));
    EXPECT_EQ(statusOf(kept->readAnswer()), 200);

    waiting.clear();
    newcomer.reset();
    kept.reset();
    std::vector<std::unique_ptr<RawConnection>> busy;
    for (int i = 0; i < 8; ++i) {
        busy.push_back(connect());
        busy.back()->send(get("/wait"));
        for (int tries = 0; tries < 500 && m_waiting <= i; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_EQ(m_waiting, i + 1);
    }
    RawConnection refused(m_port);
    EXPECT_EQ(statusOf(refused.readAnswer()), 503);
    m_released = true;
    for (const auto& connection : busy)
        EXPECT_EQ(statusOf(connection->readAnswer()), 200);
}

TEST_F(FrontEndServer, SlowOrOversizedRequestsAreRefusedIdleConnectionsClosedAndPipelinedRequestsAnsweredInOrder)
{
    FrontEnd::Limits limits = HttpServer::defaultLimits();
    limits.headMs = 500;
    limits.bodyMs = 500;
    limits.maxBodyBytes = 1024;
    limits.idleMs = 300;
    start(limits);
    const std::string post = "POST /echo HTTP/1.1\r\n" + m_host + "Content-Type: application/json\r\n";
    const struct
    {
        const char* what;
        std::string start;
        std::string drip;
    } slowOnes[] = {
        {"head", "GET /ping HTTP/1.1\r\n", "X"},
        {"body", post + "Content-Length: 1000\r\n\r\n", "x"},
        {"chunked body", post + "Transfer-Encoding: chunked\r\n\r\n", "1\r\nx\r\n"},
    };
    for (const auto& slowOne : slowOnes) {
        RawConnection connection(m_port);
        ASSERT_TRUE(connection.send(slowOne.start));
        bool closed = false;
        for (int tries = 0; !closed && tries < 100; ++tries) {
            connection.send(slowOne.drip);
            closed = connection.closedWithin(100);
        }
        EXPECT_TRUE(closed) << slowOne.what;
        EXPECT_EQ(statusOf(connection.readAnswer()), 408) << slowOne.what;
    }
    // Over the limit, whether its length is told or chunked.
    {
        RawConnection connection(m_port);
        connection.send(post + "Content-Length: 2000\r\n\r\n");
        EXPECT_EQ(statusOf(connection.readAnswer()), 413);
        EXPECT_TRUE(connection.closedWithin(3000));
    }
    {
        RawConnection connection(m_port);
        const std::string chunk = "258\r\n" + std::string(600, 'x') + "\r\n";
        connection.send(post + "Transfer-Encoding: chunked\r\n\r\n" + chunk + chunk);
        EXPECT_EQ(statusOf(connection.readAnswer()), 413);
    }
    {
        // The front end answers "100 Continue" itself, before it waits for the body.
        RawConnection connection(m_port);
        connection.send(post + "Expect: 100-continue\r\nContent-Length: 2\r\n\r\n");
        EXPECT_EQ(statusOf(connection.readAnswer()), 100);
        connection.send("[]");
        std::string body;
        EXPECT_EQ(statusOf(connection.readAnswer(&body)), 200);
        EXPECT_EQ(body, "[]");
    }
    RawConnection connection(m_port);
    connection.send(echo("[1]") + echo("[2]") + get("/ping"));
    std::string first, second, third;
    EXPECT_EQ(statusOf(connection.readAnswer(&first)), 200);
    EXPECT_EQ(statusOf(connection.readAnswer(&second)), 200);
    EXPECT_EQ(statusOf(connection.readAnswer(&third)), 200);
    EXPECT_EQ(first + second + third, "[1][2]pong");
    EXPECT_TRUE(connection.closedWithin(3000)) << "idle for longer than the limit";
}

TEST_F(FrontEndServer, ABodyReachesItsRouteWholeHoweverItIsFramedAndOneOverTheRoutesBoundIsRefused)
{
    start();
    RawConnection connection(m_port);
    std::string large(2 << 20, 'a');
    large.back() = 'z';
    const std::string overEcho((1 << 20) + 1, ' ');
    const struct
    {
        const char* what;
        std::string request;
        int status;
        std::string body;
    } cases[] = {
        {"short, by length", echo("[1,2]"), 200, "[1,2]"},
        {"short, chunked", chunked("/echo", "[1,2]"), 200, "[1,2]"},
        {"empty, by length", echo(""), 200, ""},
        {"large, by length", withLength("/measure", large), 200, "2097152 az"},
        {"large, chunked", chunked("/measure", large), 200, "2097152 az"},
        {"over the bound, by length", echo(overEcho), 413, ""},
        {"over the bound, chunked", chunked("/echo", overEcho), 413, ""},
    };
    for (const auto& c : cases) {
        // All on one kept connection: whatever a request left behind would spoil the next answer.
        ASSERT_TRUE(connection.send(c.request)) << c.what;
        std::string body;
        EXPECT_EQ(statusOf(connection.readAnswer(&body)), c.status) << c.what;
        if (c.status == 200)
            EXPECT_EQ(body, c.body) << c.what;
        else
            EXPECT_NE(body.find("PayloadTooLarge"), std::string::npos) << c.what << ": " << body;
    }
    ASSERT_TRUE(connection.send(echo("{}")));
    std::string last;
    EXPECT_EQ(statusOf(connection.readAnswer(&last)), 200);
    EXPECT_EQ(last, "{}");
}
