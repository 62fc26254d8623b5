// Routing of requests by the root (inline in the owner's thread, queued from any other) and by a
// worker's nodes.
#include <QPointer>
#include <QSemaphore>
#include <thread>

#include "CMNode.h"
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
    CMVoidReply send(const char* path)
    {
        const CMVoidReply reply;
        probe->invoke(CMPath(path), QVariant(), reply);
        return reply;
    }
    std::unique_ptr<ProbeWorker> probe;
};

class EchoNode : public CMNode
{
public:
    using CMNode::CMNode;
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        return request.reply().setValue(request.path().toEncoded());
    }
};
}  // namespace

TEST_F(FrameworkRouting, AWorkersOwnRequestIsHandledInsideTheCall)
{
    ProbeWorker late(QStringLiteral("Late"));
    probe->onSetData = [&](const CMSetDataRequest& request) {
        root->addWorker(&late);  // a handler may change the routing table while it runs
        return answerWithThread(request);
    };
    const CMVoidReply reply = send("probe:do");
    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(reply.variant(), threadTag());
    EXPECT_EQ(root->workerFor(CMPath("late:x")), &late);
}

TEST_F(FrameworkRouting, ARequestFromAForeignThreadIsHandledInTheOwnersThreadAfterTheCallReturned)
{
    const CMVoidReply reply;
    std::thread([&]() { root->sendSetData(CMSetDataRequest(CMPath("probe:do"), 1, reply)); }).join();
    EXPECT_FALSE(reply.isFinished()) << "the owner's thread has not run its loop yet";
    ASSERT_TRUE(QTest::qWaitFor([&]() { return reply.isFinished(); }));
    EXPECT_EQ(reply.variant(), threadTag());

    const CMVoidReply orphan;
    std::thread([&]() { root->sendSetData(CMSetDataRequest(CMPath("probe:do"), 1, orphan)); }).join();
    probe.reset();
    ASSERT_TRUE(orphan.isFinished()) << "a worker destroyed before handling its queued request";
    EXPECT_EQ(orphan.error().Name(), CMError::NoAnswerName());
    EXPECT_EQ(root->workerFor(CMPath("probe:do")), nullptr);
}

TEST_F(FrameworkRouting, AWorkerThreadHandlesItsRequestsInItsThreadAndUnregistersWhenItEnds)
{
    QSemaphore gate;
    const CMVoidReply reply;
    {
        CMWorkerThread workerThread([]() {
            auto* worker = new ProbeWorker(QStringLiteral("Threaded"));
            worker->onSetData = answerWithThread;
            return worker;
        });
        ASSERT_NE(workerThread.worker(), nullptr);
        EXPECT_EQ(workerThread.worker()->thread(), workerThread.thread());
        QMetaObject::invokeMethod(workerThread.worker(), [&]() { gate.acquire(); }, Qt::QueuedConnection);
        root->sendSetData(CMSetDataRequest(CMPath("threaded:do"), 1, reply));
        EXPECT_FALSE(reply.isFinished());
        gate.release();
        ASSERT_TRUE(reply.waitForFinished(10000));
        EXPECT_EQ(reply.variant(), threadTag(workerThread.thread()));
    }
    EXPECT_EQ(root->workerFor(CMPath("threaded:x")), nullptr);
}

TEST_F(FrameworkRouting, WhatNothingHandlesIsAnsweredNotFoundAtOnceUnlessTheHandlerAnswered)
{
    const CMReply<KeloRowsRoles> nowhere;
    root->sendGetRows(CMGetRowsRequest(CMPath("nowhere:list"), 0, 9, {}, nowhere));
    ASSERT_TRUE(nowhere.isFinished());
    EXPECT_EQ(nowhere.error().Name(), CMError::NotFoundName());
    EXPECT_TRUE(nowhere.error().Message().contains(QStringLiteral("nowhere:list")));

    probe->onSetData = [](const CMSetDataRequest&) { return false; };
    EXPECT_EQ(send("probe:unknown").error().Name(), CMError::NotFoundName());
    probe->onSetData = [](const CMSetDataRequest& request) {
        request.reply().setError(CMError(CMError::BadRequestName(), QStringLiteral("bad")));
        return false;
    };
    EXPECT_EQ(send("probe:unknown").error().Name(), CMError::BadRequestName());

    root.reset();
    const CMVoidReply rootless = send("probe:do");
    ASSERT_TRUE(rootless.isFinished());
    EXPECT_EQ(rootless.error().Name(), CMError::NotFoundName());
}

TEST_F(FrameworkRouting, AForwardedRequestIsAnsweredByWhatItWasForwardedTo)
{
    QList<CMSetDataRequest> held;
    probe->onSetData = [&](const CMSetDataRequest& request) {
        held.append(request);
        return true;
    };
    const auto doubled = [](const QVariant& answer) { return answer.toInt() * 2; };
    const CMVoidReply plain, turned, dropped;
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

TEST_F(FrameworkRouting, ANodeTakesTheRequestsOfItsPathAndLeavingFreesItButNeverForItsReplacement)
{
    probe->onSetData = nullptr;
    QPointer<EchoNode> old = new EchoNode(CMPath("probe:menu?action=cmnode"));
    old->setNodes(probe->nodes());
    EXPECT_EQ(send("probe:menu?action=play&plid=5").variant().toString(), QStringLiteral("probe:menu?action=play&plid=5"));
    EXPECT_EQ(send("probe:menu/deeper").error().Name(), CMError::NotFoundName());

    static_cast<CMNode*>(old.data())->deleteLater();
    EXPECT_EQ(probe->nodes()->find(CMPath("probe:menu")), nullptr);
    EchoNode successor(CMPath("probe:menu"));
    successor.setNodes(probe->nodes());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(old.isNull());
    EXPECT_EQ(probe->nodes()->find(CMPath("probe:menu")), &successor);
    EXPECT_FALSE(send("probe:menu").hasError());

    auto replaced = std::make_unique<EchoNode>(CMPath("probe:menu"));
    replaced->setNodes(probe->nodes());
    replaced.reset();
    EXPECT_EQ(probe->nodes()->find(CMPath("probe:menu")), nullptr) << "a node that leaves takes its path along";
    replaced = std::make_unique<EchoNode>(CMPath("probe:menu"));
    replaced->setNodes(probe->nodes());
    successor.setNodes(probe->nodes());
    replaced.reset();
    EXPECT_EQ(probe->nodes()->find(CMPath("probe:menu")), &successor) << "but not its replacement's";
}

TEST(FrameworkUINode, AContainerAnswersForThePathAskedWithItsOwnRolesAndOnlyTheRolesAsked)
{
    CMContainerNode menu(CMPath("tree:menu"));
    menu.setTitle(TrString(QStringLiteral("Playlist")));
    KeloRoles own;
    own.set(QStringLiteral("extra"), 4);
    menu.setRoles(own);
    const KeloRoles roles = menu.getDataRoles({}, {{QStringLiteral("plid"), QStringLiteral("5")}});
    EXPECT_EQ(roles.title(), QStringLiteral("Playlist"));
    EXPECT_EQ(roles.path().toEncoded(), QStringLiteral("tree:menu?plid=5"));
    EXPECT_EQ(roles.type(), KeloRolesType::Container);
    EXPECT_EQ(roles.get(QStringLiteral("extra")).toInt(), 4);
    EXPECT_EQ(menu.getDataRoles({KeloRoles::Title(), KeloRoles::Type()}, {}).hash().size(), 2);
}
