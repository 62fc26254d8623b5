#include "playlistUI/playlist/PlayListGetItemsNode.h"

#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayListGetItemsNode* PlayListGetItemsNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    PlayListGetItemsNode* node = createNode<PlayListGetItemsNode>(nodes, path, manager);
    node->setMediaData(playLogicMediaData());
    return node;
}

bool PlayListGetItemsNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QStringList segments = path().splitBase();
    const int plid = segments.isEmpty() ? -1 : toInt(segments.last(), -1);
    KELO_LOG_TRACE(PlayListsLogger, "plid: " << plid << " fromRow: " << request.fromRow() << " toRow: " << request.toRow());
    PlayListBase* pl = manager ? manager->getPlayListByUid(plid) : nullptr;
    sendTracks(pl, request, KELO_TRS("Playlist - %1", QList<TrArg>{pl ? pl->getName() : QString()}));
    return true;
}

void PlayListGetItemsNode::sendTracks(PlayListBase* pl, const CMGetRowsRequest& request, const TrString& title)
{
    QVariantList rows;
    int count = 0;
    if (pl) {
        count = pl->getSize();
        // The playlist clamps the range itself; fromRow above toRow yields nothing.
        const QList<KeloPlayListItem> items = pl->getItems(request.fromRow(), request.toRow());
        rows.reserve(items.size());
        const TrackContextMenu menu = trackContextMenu(pl->getUid());
        for (const KeloPlayListItem& item : items)
            appendRow(rows, menu.addTo(pl->itemToKeloRoles(item)), request);
    }
    sendRowsReply(rows, count, title, createRolesFromPath(request.path(), request.roleNames()), request, false);
}
