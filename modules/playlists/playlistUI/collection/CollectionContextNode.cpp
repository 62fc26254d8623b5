#include "playlistUI/collection/CollectionContextNode.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

CollectionContextNode* CollectionContextNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<CollectionContextNode>(nodes, path, manager, ContextMenuType);
}

bool CollectionContextNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const int clid = intParameter(requestPath, QStringLiteral("clid"));
    KELO_LOG_TRACE(PlayListsLogger, "clid: " << clid);
    CollectionBase* cl = manager ? manager->getCollectionByUid(clid) : nullptr;
    QVariantList rows;
    if (cl) {
        appendRow(rows,
                  menuEntry(KELO_TRS("Delete collection"), KeloRolesType::Action,
                            pathWith(path(), {{"action", "delete"}, {"clid", toStr(cl->getUid())}})),
                  request);
    }
    sendRowsReply(rows, rows.size(),
                  KELO_TRS("Collection Context Menu - %1", QList<TrArg>{cl ? cl->getName() : QString()}),
                  createRolesFromPath(requestPath, request.roleNames()), request, true);
    return true;
}

bool CollectionContextNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    if (requestPath.parameter(QStringLiteral("action")) != QLatin1String("delete"))
        return false;
    KeloPlayListClId args;
    args.setClid(intParameter(requestPath, QStringLiteral("clid")));
    sendCommand(KeloPlayListClDeletePath(), args, request);
    return true;
}
