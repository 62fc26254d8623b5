// Replies and the lifetime of requests.
#include <QSignalSpy>
#include <memory>
#include <thread>

#include "CMRequest.h"
#include "FrameworkTestSupport.h"

using namespace FrameworkTest;

TEST(FrameworkReply, FinishedFromAnotherThreadReachesTheReceiverInItsOwnThread)
{
    const CMVoidReply reply;
    QObject receiver;
    QThread* notifiedIn = nullptr;
    QObject::connect(reply.data(), &CMReplyAbstractData::finished, &receiver,
                     [&]() { notifiedIn = QThread::currentThread(); });

    std::thread([reply]() { reply.setValue(7); }).join();

    EXPECT_EQ(notifiedIn, nullptr) << "the receiver's thread has not run its loop yet";
    EXPECT_TRUE(reply.isFinished());
    ASSERT_TRUE(QTest::qWaitFor([&]() { return notifiedIn != nullptr; }));
    EXPECT_EQ(notifiedIn, QThread::currentThread());
    EXPECT_EQ(reply.variant().toInt(), 7);
}

TEST(FrameworkReply, ASecondFinishIsIgnoredAndNotSignalled)
{
    const CMVoidReply reply;
    QSignalSpy finished(reply.data(), &CMReplyAbstractData::finished);

    EXPECT_TRUE(reply.setValue(1));
    EXPECT_FALSE(reply.setError(CMError(QStringLiteral("Late"), QStringLiteral("too late"))));
    EXPECT_FALSE(reply.setValue(2));

    EXPECT_FALSE(reply.hasError());
    EXPECT_EQ(reply.variant().toInt(), 1);
    EXPECT_EQ(finished.count(), 1);
}

TEST(FrameworkReply, WaitingEndsWhenAnotherThreadFinishesOrWhenTheTimeoutPasses)
{
    const CMVoidReply unanswered;
    EXPECT_FALSE(unanswered.waitForFinished(10));

    const CMVoidReply reply;
    std::thread finisher([reply]() { reply.setError(CMError(QStringLiteral("Busy"), QStringLiteral("later"))); });
    EXPECT_TRUE(reply.waitForFinished());
    finisher.join();
    EXPECT_TRUE(reply.hasError());
    EXPECT_EQ(reply.error().Name(), QStringLiteral("Busy"));
    EXPECT_TRUE(reply.waitForFinished(0)) << "a finished reply answers at once";
}

TEST(FrameworkRequest, TheLastCopyOfAnUnansweredRequestAnswersNoAnswer)
{
    const CMVoidReply reply;
    {
        const CMSetDataRequest request(CMPath("playlists:pl/create"), QVariantHash(), reply);
        {
            const CMSetDataRequest copy = request;
            EXPECT_EQ(copy.reply().data(), reply.data());
        }
        EXPECT_FALSE(reply.isFinished()) << "a copy is still alive";
    }
    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.error().Name(), CMError::NoAnswerName());
    EXPECT_TRUE(reply.error().Message().contains(QStringLiteral("playlists:pl/create")));
}


TEST(FrameworkRequest, AReplyHandedOnToAnotherRequestWaitsForThatRequestToo)
{
    const CMVoidReply reply;
    auto forwarded = std::make_unique<CMSetDataRequest>(CMPath("playlists:pl/additems"), QVariantHash(), reply);
    {
        const CMSetDataRequest menuRequest(CMPath("playlists:pl/addtoplaylist"), QVariant(), reply);
    }
    EXPECT_FALSE(reply.isFinished()) << "the command that got the reply has not answered yet";
    forwarded.reset();
    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.error().Name(), CMError::NoAnswerName());
}
