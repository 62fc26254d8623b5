#include "playlistUI/playqueue/PlayQueueGetItemsNode.h"

#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayQueueGetItemsNode* PlayQueueGetItemsNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    PlayQueueGetItemsNode* node = createNode<PlayQueueGetItemsNode>(nodes, path, manager);
    node->setMediaData(playLogicMediaData());
    return node;
}

bool PlayQueueGetItemsNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    KELO_LOG_TRACE(PlayListsLogger, "fromRow: " << request.fromRow() << " toRow: " << request.toRow());
    sendTracks(manager ? manager->getPlayQueue() : nullptr, request, KELO_TRS("PlayQueue tracks"));
    return true;
}
