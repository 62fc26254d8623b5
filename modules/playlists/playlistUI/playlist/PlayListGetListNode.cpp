#include "playlistUI/playlist/PlayListGetListNode.h"

#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayListGetListNode* PlayListGetListNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<PlayListGetListNode>(nodes, path, manager);
}

bool PlayListGetListNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    KELO_LOG_TRACE(PlayListsLogger, "path: " << request.path().toEncoded() << " fromRow: " << request.fromRow()
                                         << " toRow: " << request.toRow());
    QVariantList rows;
    if (manager) {
        // The root node carries out the creation, so this row points at it.
        appendRow(rows,
                  inputEntry(KELO_TRS("Create new playlist"),
                             pathWith(KeloPlayListsRootPath(), request.path(), {{"action", "createPl"}}),
                             KeloValue::fromString(QString())),
                  request);
        for (PlayListBase* pl : manager->getAllPlayList()) {
            KELO_LOG_TRACE(PlayListsLogger, "plid: " << pl->getUid());
            KeloRoles roles = playlistRow(pl->getUid(), pl->getName(), false);
            roles.setContext(contextRoles(KELO_TRS("Playlist Context Menu - %1", QList<TrArg>{pl->getName()}),
                                          pathWith(KeloPlayListPlContextPath(), {{"plid", toStr(pl->getUid())}})));
            appendRow(rows, roles, request);
        }
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Playlists"), createRolesFromPath(request.path(), request.roleNames()),
                  request, true);
    return true;
}
