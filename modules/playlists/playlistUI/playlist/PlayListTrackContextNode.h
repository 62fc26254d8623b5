#pragma once
// The menu of one track, at KeloPlayListPlTrackContextPath() with "plid" and "itemid": add it to the
// play queue or to a playlist, move it, remove it. The track's position is the stored one, found
// through its item id, so a stale "seqnum" in the path never moves or removes the wrong track.
#include "playlistUI/BaseNode.h"

class PlayListTrackContextNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayListTrackContextNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // The entries for the track "itemid"; a track that no longer exists gets no entries. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "moveTr" (the request's value is the target position) and "removeTr" send their command, which
    // answers the request; any other action: false, nothing sent.
    bool setDataRequest(const CMSetDataRequest& request) override;

private:
    QVariantList entries(const QString& plid, const QString& itemid, int seqNum, const CMGetRowsRequest& request) const;
};
