#pragma once
// The menu of one collection, at KeloPlayListClContextPath() with "clid": delete it.
#include "playlistUI/BaseNode.h"

class CollectionContextNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static CollectionContextNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // The entries of the collection "clid"; an unknown collection gets none. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "delete" sends the delete command, which answers the request; any other action: false.
    bool setDataRequest(const CMSetDataRequest& request) override;
};
