// The events stream of kelo-host and how it ends.
#include <QThread>
#include <gtest/gtest.h>

#include "CMEventHub.h"
#include "EventReader.h"
#include "HostTest.h"
#include "http/EventStream.h"

namespace {

class Events : public HostTest
{
protected:
    void SetUp() override { ASSERT_TRUE(start()); }
};

// A client that went away is noticed at the next write, so its stream may hold its place for a moment.
std::unique_ptr<EventReader> opensSoonerOrLater(int port)
{
    for (int attempt = 0; attempt < 50; ++attempt) {
        auto reader = std::make_unique<EventReader>(port);
        if (reader->waitConnected())
            return reader;
        if (reader->status() != 503)
            return nullptr;
        QThread::msleep(200);
    }
    return nullptr;
}

TEST_F(Events, ClosedStreamsAreForgottenSoNewOnesCanAlwaysOpen)
{
    // More streams than may be open at once: streams that were never forgotten would keep the later
    // ones out for good.
    for (int i = 0; i < 40; ++i)
        ASSERT_NE(opensSoonerOrLater(m_host.port()), nullptr) << "stream " << i;
}

TEST_F(Events, TerminationOrAnInterruptEndsOpenStreamsAndTheHostExitsCleanly)
{
    for (int sig : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(sig);
        if (sig == SIGINT) {
            ASSERT_TRUE(start());
        }
        EventReader reader(m_host.port());
        ASSERT_TRUE(reader.waitConnected());
        EXPECT_EQ(m_host.stop(sig, 10000), 0) << m_host.errorOutput().toStdString();
        EXPECT_TRUE(reader.waitEnded());
    }
}

// The stream's text, from a subscriber of the process's own hub.
TEST(EventStreamText, DroppedEventsAreAnnouncedAsAResetBeforeTheNextEvent)
{
    auto subscriber = CMEventHub::instance().subscribe(2);
    for (int n = 1; n <= 5; ++n)
        CMEventHub::instance().publish({{"n", n}});
    EXPECT_EQ(EventStream::nextChunk(*subscriber, 1000), "data: {\"change\":\"reset\",\"path\":\"\"}\n\ndata: {\"n\":4}\n\n");
    EXPECT_EQ(EventStream::nextChunk(*subscriber, 1000), "data: {\"n\":5}\n\n");
    EXPECT_EQ(EventStream::nextChunk(*subscriber, 50), ": keepalive\n\n");
    subscriber->close();
    EXPECT_EQ(EventStream::nextChunk(*subscriber, 1000), "");
}

}  // namespace
