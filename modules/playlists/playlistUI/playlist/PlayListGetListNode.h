#pragma once
// The list of all user playlists, after a row that creates one (carried out by the root node). The
// items nodes of the playlists belong to their watchers (PlayListUI), not to this node.
#include "playlistUI/BaseNode.h"

class PlayListGetListNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayListGetListNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // All rows are built and the requested page is cut out of them. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
};
