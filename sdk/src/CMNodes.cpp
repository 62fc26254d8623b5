#include "CMNodes.h"

#include "CMGlobal.h"
#include "CMNode.h"
#include "KeloLog.h"

CMNodes::CMNodes(QObject* parent) : QObject(parent) {}

void CMNodes::registerNode(CMNode* node)
{
    KELO_ASSERT_THREAD(this);
    if (!node)
        return;
    const QString key = node->path().base().toEncoded();
    CMNode*& slot = m_nodes[key];
    if (slot && slot != node)
        KELO_LOG_WARN(KeloLog::FrameworkLogger, "node at " << key << " replaced by another one");
    slot = node;
}

void CMNodes::unregisterNode(CMNode* node)
{
    KELO_ASSERT_THREAD(this);
    if (!node)
        return;
    const auto it = m_nodes.constFind(node->path().base().toEncoded());
    if (it != m_nodes.constEnd() && it.value() == node)
        m_nodes.erase(it);
}

CMNode* CMNodes::find(const CMPath& path) const
{
    KELO_ASSERT_THREAD(this);
    return m_nodes.value(path.base().toEncoded(), nullptr);
}
