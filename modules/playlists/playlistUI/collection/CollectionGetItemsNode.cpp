#include "playlistUI/collection/CollectionGetItemsNode.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

CollectionGetItemsNode* CollectionGetItemsNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<CollectionGetItemsNode>(nodes, path, manager);
}

bool CollectionGetItemsNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const int clid = intParameter(requestPath, QStringLiteral("clid"));
    KELO_LOG_TRACE(PlayListsLogger, "path: " << requestPath.toEncoded() << " clid: " << clid);
    CollectionBase* cl = manager ? manager->getCollectionByUid(clid) : nullptr;
    QVariantList rows;
    if (cl) {
        KELO_LOG_TRACE(PlayListsLogger, "collection size: " << cl->getPlayLists().size());
        for (PlayListBase* pl : cl->getPlayLists()) {
            KELO_LOG_TRACE(PlayListsLogger, "plid: " << pl->getUid());
            KeloRoles roles = playlistRow(pl->getUid(), pl->getName(), true);
            roles.setContext(contextRoles(
                KELO_TRS("Playlist - %1", QList<TrArg>{pl->getName()}),
                pathWith(KeloPlayListPlContextPath(), {{"plid", toStr(pl->getUid())}, {"clid", toStr(cl->getUid())}})));
            appendRow(rows, roles, request);
        }
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Collection - %1", QList<TrArg>{cl ? cl->getName() : QString()}),
                  createRolesFromPath(requestPath, request.roleNames()), request, true);
    return true;
}
