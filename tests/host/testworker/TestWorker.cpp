#include "TestWorker.h"

#include "CMPlugin.h"

TestNode::TestNode(const CMPath& path, Behaviour behaviour, QObject* parent)
    : CMNode(path, parent), m_behaviour(behaviour)
{
}

bool TestNode::setDataRequest(const CMSetDataRequest& request)
{
    switch (m_behaviour) {
    case Behaviour::Echo:
        request.reply().setValue(QVariantHash{{QStringLiteral("received"), request.value()},
                                              {QStringLiteral("type"), QString::fromLatin1(request.value().typeName())}});
        return true;
    case Behaviour::Refuse:
        return false;
    case Behaviour::Fail:
        request.reply().setError(CMError(QStringLiteral("Failed"), QStringLiteral("The node failed on purpose.")));
        return true;
    case Behaviour::Silent:
        m_kept.append(request);
        return true;
    }
    return false;
}

TestWorker::TestWorker(const QHash<QString, QVariant>& config) : CMNodesWorker(config, QStringLiteral("Test"))
{
    const QList<QPair<const char*, TestNode::Behaviour>> nodes = {
        {"test:echo", TestNode::Behaviour::Echo},
        {"test:refuse", TestNode::Behaviour::Refuse},
        {"test:fail", TestNode::Behaviour::Fail},
        {"test:silent", TestNode::Behaviour::Silent},
    };
    for (const auto& node : nodes)
        (new TestNode(CMPath(node.first), node.second, this))->setNodes(this->nodes());
}

extern "C" CMAbstractWorker* worker_create(void*, const QHash<QString, QVariant>& config)
{
    return new TestWorker(config);
}
