// The rows filter, the connection routine and the thread check.
#include <QThread>
#include <thread>

#include "CMGlobal.h"
#include "CMNodes.h"
#include "CMRoot.h"
#include "FrameworkTestSupport.h"

namespace {
struct Unqueueable
{
    int n = 0;
};

class Sender : public QObject
{
    Q_OBJECT
signals:
    void sentUnqueueable(Unqueueable value);
    void sentPointer(Unqueueable* value);
};
}  // namespace

TEST(FrameworkGlobal, RowsKeepOnlyTheAskedRolesThatExist)
{
    KeloRoles roles;
    roles.setTitle(QStringLiteral("Mix"));
    roles.setType(1);
    roles.setId(QStringLiteral("7"));

    EXPECT_EQ(CMGlobal::itemRolesToList(roles, {}).toHash(), roles.hash());
    EXPECT_EQ(CMGlobal::itemRolesToList(roles, {KeloRoles::Title(), KeloRoles::Album()}).toHash(),
              QVariantHash({{KeloRoles::Title(), QStringLiteral("Mix")}}));
}

TEST(FrameworkGlobal, ConnectingAcrossThreadsAcceptsSdkTypesAndPointers)
{
    CMRootWorker root;
    Sender sender;
    QThread other;
    QObject receiver;
    receiver.moveToThread(&other);
    EXPECT_TRUE(CMGlobal::connect(&root, &CMRootWorker::valueChanged, &receiver, [](const CMPath&) {}));
    EXPECT_TRUE(CMGlobal::connect(&sender, &Sender::sentPointer, &receiver, [](Unqueueable*) {}));
}

TEST(FrameworkGlobalDeathTest, ConnectingAnUnqueueableSignalAcrossThreadsEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Sender sender;
            QObject receiver;
            QThread other;
            receiver.moveToThread(&other);
            CMGlobal::connect(&sender, &Sender::sentUnqueueable, &receiver, &QObject::deleteLater);
        },
        "verifyConnectionSignalParameters");
}

TEST(FrameworkGlobalDeathTest, AnEntryForOneThreadEndsTheProcessWhenCalledFromAnother)
{
#ifndef KELO_THREAD_CHECKS
    GTEST_SKIP() << "built with KELO_THREAD_CHECKS off";
#endif
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CMNodes nodes;
    EXPECT_EQ(nodes.find(CMPath("probe:x")), nullptr) << "its own thread may use it";
    EXPECT_DEATH(std::thread([&]() { nodes.find(CMPath("probe:x")); }).join(), "called outside the thread of this");
}

#include "FrameworkGlobalTest.moc"
