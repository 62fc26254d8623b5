#pragma once
// The menu that chooses the playlist to add a track ("itemid") or a whole playlist ("fromplid", a
// merge) to, at KeloPlayListPlAddToPlaylistPath(). Each playlist leads to the add-mode menu with its
// uid as "plid"; a first row creates a new playlist.
#include "playlistUI/BaseNode.h"

class PlayListAddToPlaylistNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayListAddToPlaylistNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // All rows are built and the requested page is cut out of them. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "createPl" sends the create command (answered by it); any other action: false.
    bool setDataRequest(const CMSetDataRequest& request) override;
};
