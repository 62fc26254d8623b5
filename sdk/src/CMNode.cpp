#include "CMNode.h"

#include "CMGlobal.h"
#include "CMNodes.h"

namespace {
KeloRoles onlyRoles(const KeloRoles& roles, const QStringList& roleNames)
{
    if (roleNames.isEmpty())
        return roles;
    return KeloRoles(KeloHash(CMGlobal::itemRolesToList(roles, roleNames).toHash()));
}
}  // namespace

CMNode::CMNode(const CMPath& path, QObject* parent) : QObject(parent), m_path(path) {}

CMNode::~CMNode()
{
    if (m_nodes)
        m_nodes->unregisterNode(this);
}

void CMNode::setNodes(CMNodes* nodes)
{
    KELO_ASSERT_THREAD(this);
    if (m_nodes && m_nodes != nodes)
        m_nodes->unregisterNode(this);
    m_nodes = nodes;
    if (m_nodes)
        m_nodes->registerNode(this);
}

// The path must be free before this call returns: the caller may register a successor at once.
void CMNode::deleteLater()
{
    KELO_ASSERT_THREAD(this);
    setNodes(nullptr);
    QObject::deleteLater();
}

bool CMNode::getRowsRequest(const CMGetRowsRequest&)
{
    KELO_ASSERT_THREAD(this);
    return false;
}

bool CMNode::setDataRequest(const CMSetDataRequest&)
{
    KELO_ASSERT_THREAD(this);
    return false;
}

bool CMNode::getDataRequest(const CMGetDataRequest&)
{
    KELO_ASSERT_THREAD(this);
    return false;
}

CMUINode::CMUINode(const CMPath& path, QObject* parent) : CMNode(path, parent) {}

KeloRoles CMUINode::getDataRoles(const QStringList& roleNames, const QList<QPair<QString, QString>>& parameters) const
{
    KELO_ASSERT_THREAD(this);
    KeloRoles roles = m_roles;
    if (!m_title.isEmpty())
        roles.setTitle(m_title);
    CMPath requested = path().base();
    for (const auto& parameter : parameters)
        requested.addParameter(parameter.first, parameter.second);
    roles.setPath(requested);
    if (!m_mediaData.isEmpty())
        roles.setMediaData(m_mediaData);
    return onlyRoles(roles, roleNames);
}

bool CMUINode::getDataRequest(const CMGetDataRequest& request)
{
    KELO_ASSERT_THREAD(this);
    const QStringList roleNames = request.roleNames();
    const KeloRoles roles = getDataRoles(roleNames, request.path().parameters());
    if (roleNames.isEmpty()) {
        request.reply().setValue(roles.toVariant());
        return true;
    }
    QVariantList values;
    values.reserve(roleNames.size());
    for (const QString& name : roleNames)
        values.append(roles.get(name));
    request.reply().setValue(values);
    return true;
}

CMContainerNode::CMContainerNode(const CMPath& path, QObject* parent) : CMUINode(path, parent) {}

KeloRoles CMContainerNode::getDataRoles(const QStringList& roleNames,
                                        const QList<QPair<QString, QString>>& parameters) const
{
    KELO_ASSERT_THREAD(this);
    KeloRoles roles = CMUINode::getDataRoles({}, parameters);
    roles.setType(KeloRolesType::Container);
    roles.setContainerType(m_containerType);
    return onlyRoles(roles, roleNames);
}

CMListRowsNode::CMListRowsNode(const CMPath& path, QObject* parent) : CMContainerNode(path, parent) {}
