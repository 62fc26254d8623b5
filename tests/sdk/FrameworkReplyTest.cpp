// Replies and the lifetime of requests.
#include <QSignalSpy>
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

TEST(FrameworkReply, TypedRepliesCarryRecordsThroughCopies)
{
    const CMReply<KeloRowsRoles> reply;
    const CMReply<KeloRowsRoles> copy = reply;
    KeloRowsRoles rows;
    rows.setRowsCount(3);
    rows.setRows({QVariantHash{{QStringLiteral("title"), QStringLiteral("a")}}});

    ASSERT_TRUE(copy.setValue(rows));
    EXPECT_TRUE(reply.isSameReply(copy));
    EXPECT_EQ(reply.value().rowsCount(), 3);
    EXPECT_EQ(reply.value().rows().size(), 1);
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

TEST(FrameworkRequest, AnAnsweredRequestKeepsItsAnswerWhenDropped)
{
    const CMReply<QVariant> reply;
    {
        const CMGetDataRequest request(CMPath("settings:x"), {QStringLiteral("title")}, reply);
        request.reply().setValue(QStringLiteral("done"));
        EXPECT_EQ(request.roleNames(), QStringList{QStringLiteral("title")});
    }
    EXPECT_FALSE(reply.hasError());
    EXPECT_EQ(reply.value().toString(), QStringLiteral("done"));
}
