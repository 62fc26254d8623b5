#pragma once
// The demo media library, the worker of "media:". It lives in its own worker thread; the framework
// calls its handlers there. The catalogue is fixed at construction and only read afterwards.
//
//   get-rows "media:"              the albums (type 1, playable containers, path media:album/<n>)
//   get-rows "media:album/<n>"     its tracks (type 3, path media:track/<id>, with a resource uri)
//   get-data on any of these       the roles of that row
//   set-data "media:prepareItems"  a list of track or album paths -> a list of KeloPlayListItem
//                                  hashes, in the order given; paths it does not know are skipped
#include "CMWorker.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "media/Catalogue.h"

class MediaLibraryWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    explicit MediaLibraryWorker(const Catalogue& catalogue, QObject* parent = nullptr);

    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

    // The rows fromRow..toRow (both included) of a list of total rows, clamped to it:
    // {first, last}, empty (last < first) when nothing of the range exists.
    static QPair<int, int> clampRange(int fromRow, int toRow, int total);

private:
    enum class Node { None, Root, Album, Track, PrepareItems };
    Node resolve(const CMPath& path, int* id) const;

    KeloRoles rootRoles() const;
    KeloRoles albumRoles(const CatalogueAlbum& album) const;
    KeloRoles trackRoles(const CatalogueTrack& track) const;
    KeloPlayListItem playListItem(const CatalogueTrack& track) const;
    QList<KeloRoles> childRows(Node node, int id) const;
    bool answerRows(const CMGetRowsRequest& request, const KeloRoles& container, const QList<KeloRoles>& rows) const;
    QVariantList prepareItems(const QVariantList& paths) const;

    Catalogue m_catalogue;
};
