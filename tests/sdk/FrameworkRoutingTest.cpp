// Routing of requests by the root: inline in the owner's thread, queued from any other.
#include <QSemaphore>
#include <thread>

#include "CMWorkerThread.h"
#include "FrameworkTestSupport.h"

using namespace FrameworkTest;

namespace {
class FrameworkRouting : public RootTest
{
protected:
    void SetUp() override
    {
        RootTest::SetUp();
        probe = std::make_unique<ProbeWorker>(QStringLiteral("Probe"));
        probe->onSetData = answerWithThread;
        root->addWorker(probe.get());
    }
    std::unique_ptr<ProbeWorker> probe;
};
}  // namespace

TEST_F(FrameworkRouting, AWorkersOwnRequestIsHandledInsideTheCall)
{
    ProbeWorker late(QStringLiteral("Late"));
    probe->onSetData = [&](const CMSetDataRequest& request) {
        root->addWorker(&late);  // a handler may change the routing table while it runs
        return answerWithThread(request);
    };
    const CMVoidReply reply;
    probe->invoke(CMPath("probe:do"), 1, reply);

    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.variant(), currentThreadTag());
    EXPECT_EQ(root->workerFor(CMPath("late:x")), &late);
}

TEST_F(FrameworkRouting, ARequestFromAForeignThreadIsHandledInTheOwnersThreadAfterTheCallReturned)
{
    const CMVoidReply reply;
    std::thread([&]() { root->sendSetData(CMSetDataRequest(CMPath("probe:do"), 1, reply)); }).join();

    EXPECT_FALSE(reply.isFinished()) << "the owner's thread has not run its loop yet";
    ASSERT_TRUE(waitInLoop(reply));
    EXPECT_EQ(reply.variant(), currentThreadTag());
}

TEST_F(FrameworkRouting, ARequestToAWorkerThreadIsHandledInThatThread)
{
    QSemaphore gate;
    CMWorkerThread workerThread([]() {
        auto* worker = new ProbeWorker(QStringLiteral("Threaded"));
        worker->onSetData = answerWithThread;
        return worker;
    });
    ASSERT_NE(workerThread.worker(), nullptr);
    EXPECT_EQ(workerThread.worker()->thread(), workerThread.thread());
    QMetaObject::invokeMethod(workerThread.worker(), [&]() { gate.acquire(); }, Qt::QueuedConnection);

    const CMVoidReply reply;
    root->sendSetData(CMSetDataRequest(CMPath("threaded:do"), 1, reply));
    EXPECT_FALSE(reply.isFinished());
    gate.release();

    ASSERT_TRUE(reply.waitForFinished(10000));
    EXPECT_EQ(reply.variant(), threadTag(workerThread.thread()));
}

TEST_F(FrameworkRouting, AWorkerThreadUnregistersItsWorkerWhenItEnds)
{
    {
        CMWorkerThread workerThread([]() { return new ProbeWorker(QStringLiteral("Brief")); });
        EXPECT_EQ(root->workerFor(CMPath("brief:x")), workerThread.worker());
    }
    EXPECT_EQ(root->workerFor(CMPath("brief:x")), nullptr);
}

TEST_F(FrameworkRouting, APathNoWorkerOwnsIsAnsweredNotFoundAtOnce)
{
    const CMReply<KeloRowsRoles> reply;
    root->sendGetRows(CMGetRowsRequest(CMPath("nowhere:list"), 0, 9, {}, reply));

    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.error().Name(), CMError::NotFoundName());
    EXPECT_TRUE(reply.error().Message().contains(QStringLiteral("nowhere:list")));
}

TEST_F(FrameworkRouting, ARefusedRequestIsAnsweredNotFoundUnlessTheHandlerAnswered)
{
    probe->onSetData = [](const CMSetDataRequest&) { return false; };
    const CMVoidReply refused;
    probe->invoke(CMPath("probe:unknown"), 1, refused);
    EXPECT_EQ(refused.error().Name(), CMError::NotFoundName());

    probe->onSetData = [](const CMSetDataRequest& request) {
        request.reply().setError(CMError(CMError::BadRequestName(), QStringLiteral("bad")));
        return false;
    };
    const CMVoidReply answered;
    probe->invoke(CMPath("probe:unknown"), 1, answered);
    EXPECT_EQ(answered.error().Name(), CMError::BadRequestName());
}

TEST_F(FrameworkRouting, ARequestQueuedToAWorkerDestroyedBeforeHandlingIsAnsweredNoAnswer)
{
    const CMVoidReply reply;
    std::thread([&]() { root->sendSetData(CMSetDataRequest(CMPath("probe:do"), 1, reply)); }).join();
    probe.reset();

    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.error().Name(), CMError::NoAnswerName());
    EXPECT_EQ(root->workerFor(CMPath("probe:do")), nullptr);
}

TEST_F(FrameworkRouting, AForwardedRequestIsAnsweredByWhatItWasForwardedTo)
{
    QList<CMSetDataRequest> held;
    probe->onSetData = [&](const CMSetDataRequest& request) {
        held.append(request);
        return true;
    };
    const auto doubled = [](const QVariant& answer) { return answer.toInt() * 2; };
    const CMVoidReply plain;
    const CMVoidReply turned;
    const CMVoidReply dropped;
    probe->forward(CMSetDataRequest(CMPath("probe:menu"), 0, plain), CMPath("probe:do"), 1);
    probe->forward(CMSetDataRequest(CMPath("probe:menu"), 0, turned), CMPath("probe:do"), 2, doubled);
    probe->forward(CMSetDataRequest(CMPath("probe:menu"), 0, dropped), CMPath("probe:do"), 3, doubled);
    ASSERT_EQ(held.size(), 3);
    EXPECT_FALSE(plain.isFinished() || turned.isFinished() || dropped.isFinished())
        << "the menu's requests are gone, but what they were forwarded to has not answered";

    held.at(0).reply().setValue(21);
    held.at(1).reply().setValue(21);
    held.removeLast();
    EXPECT_EQ(plain.variant(), 21);
    EXPECT_EQ(turned.variant(), 42);
    EXPECT_EQ(dropped.error().Name(), CMError::NoAnswerName());
}
