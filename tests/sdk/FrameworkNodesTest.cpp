// Node registration and the roles nodes build for themselves.
#include <QPointer>

#include "CMNode.h"
#include "FrameworkTestSupport.h"

using namespace FrameworkTest;

namespace {
class EchoNode : public CMNode
{
public:
    using CMNode::CMNode;
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        return request.reply().setValue(request.path().toEncoded());
    }
};

class FrameworkNodes : public RootTest
{
protected:
    void SetUp() override
    {
        RootTest::SetUp();
        root->addWorker(&worker);
    }
    CMVoidReply send(const char* path)
    {
        const CMVoidReply reply;
        worker.invoke(CMPath(path), QVariant(), reply);
        return reply;
    }
    ProbeWorker worker{QStringLiteral("Tree")};
};
}  // namespace

TEST_F(FrameworkNodes, ANodeTakesTheRequestsOfItsPathWhateverTheQuery)
{
    EchoNode node(CMPath("tree:menu?action=cmnode"));
    node.setNodes(worker.nodes());

    EXPECT_EQ(send("tree:menu?action=play&plid=5").variant().toString(), QStringLiteral("tree:menu?action=play&plid=5"));
    EXPECT_EQ(send("tree:menu/deeper").error().Name(), CMError::NotFoundName());
}

TEST_F(FrameworkNodes, DeleteLaterFreesThePathAtOnceForASuccessor)
{
    QPointer<EchoNode> old = new EchoNode(CMPath("tree:list/5"));
    old->setNodes(worker.nodes());
    static_cast<CMNode*>(old.data())->deleteLater();
    EXPECT_EQ(worker.nodes()->find(CMPath("tree:list/5")), nullptr);

    EchoNode successor(CMPath("tree:list/5"));
    successor.setNodes(worker.nodes());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    EXPECT_TRUE(old.isNull());
    EXPECT_EQ(worker.nodes()->find(CMPath("tree:list/5")), &successor);
    EXPECT_FALSE(send("tree:list/5").hasError());
}

TEST_F(FrameworkNodes, AReplacedNodeLeavingDoesNotUnregisterItsReplacement)
{
    auto first = std::make_unique<EchoNode>(CMPath("tree:x"));
    first->setNodes(worker.nodes());
    EchoNode second(CMPath("tree:x"));
    second.setNodes(worker.nodes());
    first.reset();
    EXPECT_EQ(worker.nodes()->find(CMPath("tree:x")), &second);
    EXPECT_EQ(worker.nodes()->count(), 1);
}

TEST(FrameworkUINode, AContainerBuildsItsOwnRolesForTheRequestedPath)
{
    CMContainerNode menu(CMPath("tree:menu"));
    menu.setTitle(TrString(QStringLiteral("Playlist")));
    menu.setContainerType(KeloRolesContainerType::ContextMenu);
    KeloRoles own;
    own.set(QStringLiteral("extra"), 4);
    menu.setRoles(own);

    const KeloRoles roles = menu.getDataRoles({}, {{QStringLiteral("plid"), QStringLiteral("5")}});
    EXPECT_EQ(roles.title(), QStringLiteral("Playlist"));
    EXPECT_EQ(roles.path().toEncoded(), QStringLiteral("tree:menu?plid=5"));
    EXPECT_EQ(roles.type(), 1);
    EXPECT_EQ(roles.containerType(), 100);
    EXPECT_EQ(roles.get(QStringLiteral("extra")).toInt(), 4);

    const KeloRoles some = menu.getDataRoles({KeloRoles::Title(), KeloRoles::Type()}, {});
    EXPECT_EQ(some.hash().keys().size(), 2);
}

TEST(FrameworkUINode, GetDataWithRoleNamesAnswersTheirValuesInOrder)
{
    CMUINode node(CMPath("tree:item"));
    node.setTitle(TrString(QStringLiteral("Song")));
    const CMReply<QVariant> reply;
    node.getDataRequest(CMGetDataRequest(CMPath("tree:item"), {KeloRoles::Path(), KeloRoles::Title(), KeloRoles::Album()}, reply));

    EXPECT_EQ(reply.value().toList(),
              QVariantList({QStringLiteral("tree:item"), QStringLiteral("Song"), QVariant()}));
}
