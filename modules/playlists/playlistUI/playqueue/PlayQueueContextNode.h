#pragma once
// The menu of the play queue, at KeloPlayListPqContextPath() with "plid": play, merge into a
// playlist, clear. The root's play-queue row publishes this node's clear path as the way to empty it.
#include "playlistUI/BaseNode.h"

class PlayQueueContextNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayQueueContextNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // The entries. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "playPl" and "clearPl" send their command, which answers the request; any other action
    // (the playlist menu's "play" included): false, nothing sent.
    bool setDataRequest(const CMSetDataRequest& request) override;
};
