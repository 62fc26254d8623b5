#pragma once
// The tracks of one playlist, at KeloPlayListPlGetItemsPath() + "/<uid>". The uid is read back from
// the path on every request, so the node stays right across renames. Each track row carries the
// track menu. Owned by the playlist's watcher (PlayListUI), which retires it.
#include "playlistUI/BaseNode.h"

class PlayListBase;

class PlayListGetItemsNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    // Also makes the node itself playable through the module's play logic.
    static PlayListGetItemsNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // Builds only the requested rows; the count is the playlist's size. A path whose uid names no
    // playlist gets no rows and count 0. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;

protected:
    // Answers request with the rows fromRow..toRow of pl (null: none) under title.
    void sendTracks(PlayListBase* pl, const CMGetRowsRequest& request, const TrString& title);
};
