#pragma once
// The playlists of one collection, at KeloPlayListClGetItemsPath() with "clid". Each playlist row
// opens the playlist's items, and its menu carries the collection so that it offers removal from it.
#include "playlistUI/BaseNode.h"

class CollectionGetItemsNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static CollectionGetItemsNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // All rows are built and the requested page is cut out of them; an unknown collection has none.
    // Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
};
