#pragma once
// The tracks of the play queue, at KeloPlayListPqGetItemsPath(). The queue is the manager's, not
// looked up through the path. Its tracks carry the track menu with plid 0.
#include "playlistUI/playlist/PlayListGetItemsNode.h"

class PlayQueueGetItemsNode : public PlayListGetItemsNode
{
    Q_OBJECT
public:
    using PlayListGetItemsNode::PlayListGetItemsNode;
    // Also makes the node itself playable through the module's play logic.
    static PlayQueueGetItemsNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // Builds only the requested rows; the count is the queue's size. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
};
