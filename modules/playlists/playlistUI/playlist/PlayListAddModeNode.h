#pragma once
// The menu that chooses where to add ("now", "after current", "append"), at
// KeloPlayListPlSelectAddModePath() with "plid" (the target), "fromplid", and "itemid" (the item's
// path; absent for a merge of the whole playlist "fromplid").
#include "playlistUI/BaseNode.h"

class PlayListAddModeNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayListAddModeNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // The three positions. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // Sends the add command for the path's "plid", "fromplid", "mode" and "itemid"; the command
    // answers the request. Always true: every request on this node is an add.
    bool setDataRequest(const CMSetDataRequest& request) override;
};
