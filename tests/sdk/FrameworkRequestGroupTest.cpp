// Request groups: one finished() after every reply, never inside addInvoke.
#include <QSignalSpy>
#include <thread>

#include "CMRequestGroup.h"
#include "FrameworkTestSupport.h"

using namespace FrameworkTest;

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

TEST_F(FrameworkRequestGroup, AnInvokeNobodyTakesStillLetsTheGroupFinish)
{
    CMRequestGroup group;
    QSignalSpy finished(&group, &CMRequestGroup::finished);
    group.addInvoke(QStringLiteral("prepareItems"), CMPath("nowhere:x"), 1);

    ASSERT_TRUE(finished.wait(10000));
    EXPECT_EQ(group.getReplyList().at(0).error().Name(), CMError::NotFoundName());
}

TEST_F(FrameworkRequestGroup, AGroupWithoutInvokesNeverAnnouncesItself)
{
    CMRequestGroup group;
    QSignalSpy finished(&group, &CMRequestGroup::finished);
    group.checkAndCallCallback();
    QCoreApplication::processEvents();
    EXPECT_EQ(finished.count(), 0);
}
