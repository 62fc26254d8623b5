// The rows filter and the connection routine.
#include <QThread>

#include "CMGlobal.h"
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

TEST(FrameworkGlobal, OnlyRegisteredOrPointerParametersCanBeQueued)
{
    EXPECT_TRUE(CMGlobal::verifyConnectionSignalParameters(QMetaMethod::fromSignal(&CMRootWorker::valueChanged)));
    EXPECT_TRUE(CMGlobal::verifyConnectionSignalParameters(QMetaMethod::fromSignal(&Sender::sentPointer)));
    EXPECT_FALSE(CMGlobal::verifyConnectionSignalParameters(QMetaMethod::fromSignal(&Sender::sentUnqueueable)));
}

TEST(FrameworkGlobal, ConnectingAcrossThreadsAcceptsSdkSignals)
{
    CMRootWorker root;
    QThread other;
    QObject receiver;
    receiver.moveToThread(&other);
    const QMetaObject::Connection connection =
        CMGlobal::connect(&root, &CMRootWorker::valueChanged, &receiver, [](const CMPath&) {});
    EXPECT_TRUE(static_cast<bool>(connection));
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

#include "FrameworkGlobalTest.moc"
