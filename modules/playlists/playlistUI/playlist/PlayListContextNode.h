#pragma once
// The menu of one playlist, at KeloPlayListPlContextPath() with "plid" (and "clid" when it was opened
// inside a collection): play, rename, shuffle, repeat, merge, add to or remove from a collection,
// clear, delete. Each entry sends one playlist or collection command.
#include "playlistUI/BaseNode.h"

class PlayListBase;

class PlayListContextNode : public BaseNode
{
    Q_OBJECT
public:
    using BaseNode::BaseNode;
    static PlayListContextNode* create(CMNodes* nodes, const CMPath& path, PlayListManager* manager);

    // The entries of the playlist named by "plid"; an unknown playlist gets no entries. Always true.
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    // "play", "rename", "shuffle", "repeat", "delFromCl", "clearPl": the command answers the request.
    // "delPL": answered with an action reply whose event has no path (the menu's playlist is gone),
    // or with the command's error. Any other action: false, nothing sent.
    bool setDataRequest(const CMSetDataRequest& request) override;

private:
    QVariantList entries(PlayListBase* pl, const CMGetRowsRequest& request) const;
    void appendCollectionEntries(QVariantList& rows, const QString& plid, const CMGetRowsRequest& request) const;
    void deletePlayList(int plid, const CMSetDataRequest& request);
};
