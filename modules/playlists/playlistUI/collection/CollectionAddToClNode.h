#pragma once
// The menu that adds the playlist "plid" to a collection, at KeloPlayListClAddtoCollectionPath():
// a row that creates a new collection, then one row per collection.
#include "playlistUI/BaseNode.h"

class CollectionAddToClNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static CollectionAddToClNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // All rows are built and the requested page is cut out of them. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "createCl" and "addItem" send their collection command, which answers the request; any other
    // action: false, nothing sent.
    bool setDataRequest(const CMSetDataRequest& request) override;
};
