#pragma once
// The node of "playlists:": the play queue (when its setting shows it), the playlists with a row that
// creates one, and the collections with a row that creates one (when their setting shows them).
// Each playlist, collection and the play queue carry their context menu.
#include "playlistUI/BaseNode.h"

class RootNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static RootNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // All rows are built and the requested page is cut out of them. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "createPl" and "createCl" send the create command with the request's value as the name and are
    // answered by it (true); any other action sends nothing (false).
    bool setDataRequest(const CMSetDataRequest& request) override;

private:
    void appendPlayQueueRow(QVariantList& rows, const CMGetRowsRequest& request) const;
    void appendPlayListRows(QVariantList& rows, const CMGetRowsRequest& request) const;
    void appendCollectionRows(QVariantList& rows, const CMGetRowsRequest& request) const;
};
