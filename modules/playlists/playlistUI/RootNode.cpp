#include "playlistUI/RootNode.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

namespace {
// What the user interface calls to empty the play queue from its row.
const char* const clearPlayQueuePath = "playlists:pq/contextmenu?action=clearPl&plid=0";
}  // namespace

RootNode* RootNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<RootNode>(nodes, path, manager);
}

bool RootNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    KELO_LOG_TRACE(PlayListsLogger, "path: " << request.path().toEncoded() << " fromRow: " << request.fromRow()
                                         << " toRow: " << request.toRow());
    QVariantList rows;
    if (manager) {
        rows.reserve(5 + manager->getAllPlayList().size() + manager->getAllCollection().size());
        if (playqueueVisible)
            appendPlayQueueRow(rows, request);
        appendPlayListRows(rows, request);
        if (collectionsVisible)
            appendCollectionRows(rows, request);
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Playlists"), createRolesFromPath(request.path(), request.roleNames()),
                  request, true);
    return true;
}

void RootNode::appendPlayQueueRow(QVariantList& rows, const CMGetRowsRequest& request) const
{
    PlayListBase* queue = manager->getPlayQueue();
    if (!queue)
        return;
    KELO_LOG_TRACE(PlayListsLogger, "pqname: " << queue->getName() << " pqid: " << queue->getUid());
    KeloRoles roles = menuEntry(TrString(queue->getName()), KeloRolesType::Container, KeloPlayListPqGetItemsPath());
    roles.setContainerPlayable(true);
    roles.setMediaData(playLogicMediaData());
    roles.setContext(contextRoles(TrString(queue->getName()),
                                  pathWith(KeloPlayListPqContextPath(), {{"plid", toStr(queue->getUid())}})));
    roles.setVimboClearQueue(QString::fromLatin1(clearPlayQueuePath));
    appendRow(rows, roles, request);
}

void RootNode::appendPlayListRows(QVariantList& rows, const CMGetRowsRequest& request) const
{
    KeloRoles header;
    header.setTitle(KELO_TRS("Playlists"));
    header.setType(KeloRolesType::Header);
    appendRow(rows, header, request);
    appendRow(rows,
              inputEntry(KELO_TRS("Create New Playlist"), pathWith(path(), request.path(), {{"action", "createPl"}}),
                         KeloValue::fromString(QString())),
              request);
    // One translation context for every row of the request.
    const QString context = trExtractContext(Q_FUNC_INFO);
    for (PlayListBase* pl : manager->getAllPlayList()) {
        KELO_LOG_TRACE(PlayListsLogger, "plname: " << pl->getName() << " plid: " << pl->getUid());
        KeloRoles roles = playlistRow(pl->getUid(), pl->getName(), true);
        roles.setContext(contextRoles(TrString(context, QStringLiteral("Playlist Context Menu - %1"), {pl->getName()}),
                                      pathWith(KeloPlayListPlContextPath(), {{"plid", toStr(pl->getUid())}})));
        appendRow(rows, roles, request);
    }
}

void RootNode::appendCollectionRows(QVariantList& rows, const CMGetRowsRequest& request) const
{
    KeloRoles header;
    header.setTitle(KELO_TRS("Collections"));
    header.setType(KeloRolesType::Header);
    appendRow(rows, header, request);
    appendRow(rows,
              inputEntry(KELO_TRS("Create New Collection"), pathWith(path(), request.path(), {{"action", "createCl"}}),
                         KeloValue::fromString(QString())),
              request);
    for (CollectionBase* cl : manager->getAllCollection()) {
        KELO_LOG_TRACE(PlayListsLogger, "clname: " << cl->getName() << " clid: " << cl->getUid());
        const QString clid = toStr(cl->getUid());
        KeloRoles roles = menuEntry(TrString(cl->getName()), KeloRolesType::Container,
                                    pathWith(KeloPlayListClGetItemsPath(), {{"clid", clid}}));
        roles.setContainerPlayable(true);
        roles.setContext(contextRoles(KELO_TRS("Collection Context Menu - %1", QList<TrArg>{cl->getName()}),
                                      pathWith(KeloPlayListClContextPath(), {{"clid", clid}})));
        appendRow(rows, roles, request);
    }
}

bool RootNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString action = request.path().parameter(QStringLiteral("action"));
    if (action == QLatin1String("createCl")) {
        KeloPlayListClCreate args;
        args.setName(valueString(request));
        sendCommand(KeloPlayListClCreatePath(), args, request);
        return true;
    }
    if (action == QLatin1String("createPl")) {
        KeloPlayListPlCreate args;
        args.setName(valueString(request));
        sendCommand(KeloPlayListPlCreatePath(), args, request);
        return true;
    }
    return false;
}
