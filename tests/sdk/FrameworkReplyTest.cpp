// Replies, the lifetime of requests, and request groups: one finished() after every reply, never
// inside addInvoke.
#include <QSignalSpy>
#include <thread>

#include "CMRequest.h"
#include "CMRequestGroup.h"
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

TEST(FrameworkReply, OnlyTheFirstFinishCountsAndIsSignalled)
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

namespace {
class FrameworkRequestGroup : public RootTest
{
protected:
    void SetUp() override
    {
        RootTest::SetUp();
        root->addWorker(&media);
    }
    ProbeWorker media{QStringLiteral("Media")};
};
}  // namespace

TEST_F(FrameworkRequestGroup, RepliesFinishedInsideAddInvokeAnnounceTheGroupOnlyFromTheEventLoop)
{
    QStringList paths;
    media.onSetData = [&](const CMSetDataRequest& request) {
        paths << request.path().toEncoded();
        return request.reply().setValue(request.value());
    };
    CMRequestGroup group;
    QSignalSpy finished(&group, &CMRequestGroup::finished);
    group.checkAndCallCallback();
    QCoreApplication::processEvents();
    EXPECT_EQ(finished.count(), 0) << "a group without invokes never announces itself";

    group.addInvoke(QStringLiteral("prepareItems"), CMPath("media:track/1"), 1);
    group.addInvoke(QStringLiteral("prepareItems"), CMPath("media:album/2"), 2);
    EXPECT_EQ(paths, QStringList({QStringLiteral("media:prepareItems"), QStringLiteral("media:prepareItems")}));
    EXPECT_EQ(finished.count(), 0);
    ASSERT_TRUE(finished.wait(10000));
    QCoreApplication::processEvents();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_EQ(group.getReplyList().at(1).variant().toInt(), 2);
}

TEST_F(FrameworkRequestGroup, TheGroupWaitsForItsLastReplyWhateverTheOrder)
{
    QList<CMSetDataRequest> pending;
    media.onSetData = [&](const CMSetDataRequest& request) {
        pending << request;
        return true;
    };
    CMRequestGroup group;
    QSignalSpy finished(&group, &CMRequestGroup::finished);
    for (int i = 0; i < 3; ++i)
        group.addInvoke(QStringLiteral("prepareItems"), CMPath("media:x"), i);
    ASSERT_EQ(pending.size(), 3);

    std::thread([&]() {
        pending[2].reply().setValue(2);
        pending[0].reply().setValue(0);
    }).join();
    QCoreApplication::processEvents();
    EXPECT_EQ(finished.count(), 0);

    std::thread([&]() { pending[1].reply().setError(CMError(QStringLiteral("Failed"), QStringLiteral("no"))); }).join();
    ASSERT_TRUE(QTest::qWaitFor([&]() { return finished.count() == 1; }));
    for (const CMVoidReply& reply : group.getReplyList())
        EXPECT_TRUE(reply.isFinished());
}
