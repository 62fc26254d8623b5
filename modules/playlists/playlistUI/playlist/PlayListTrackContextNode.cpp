#include "playlistUI/playlist/PlayListTrackContextNode.h"

#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayListTrackContextNode* PlayListTrackContextNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<PlayListTrackContextNode>(nodes, path, manager, ContextMenuType);
}

bool PlayListTrackContextNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const QString plid = requestPath.parameter(QStringLiteral("plid"));
    const QString itemid = requestPath.parameter(QStringLiteral("itemid"));
    KELO_LOG_TRACE(PlayListsLogger, "plid: " << plid << " itemid: " << itemid);
    QVariantList rows;
    if (manager) {
        const KeloPlayListItem item = manager->getPlayListItemByUid(toInt(itemid, -1));
        if (item.isValid())
            rows = entries(plid, itemid, item.sequenceNumber(), request);
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Track Context Menu"),
                  createRolesFromPath(requestPath, request.roleNames()), request, true);
    return true;
}

QVariantList PlayListTrackContextNode::entries(const QString& plid, const QString& itemid, int seqNum,
                                               const CMGetRowsRequest& request) const
{
    const QString itemPath = (KeloPlayListItemPath() + itemid).toEncoded();
    const QString seq = toStr(seqNum);
    QVariantList rows;
    if (playqueueVisible && plid != QLatin1String("0")) {
        KeloRoles toQueue =
            menuEntry(KELO_TRS("Add to playqueue"), KeloRolesType::Container,
                      pathWith(KeloPlayListPlSelectAddModePath(),
                               {{"action", "cmnode"}, {"fromplid", plid}, {"itemid", itemPath}, {"plid", "0"}}));
        toQueue.setContainerType(ContextMenuType);
        appendRow(rows, toQueue, request);
    }
    KeloRoles toPlayList = menuEntry(
        KELO_TRS("Add to playlist"), KeloRolesType::Container,
        pathWith(KeloPlayListPlAddToPlaylistPath(), {{"action", "cmnode"},
                                                     {"fromplid", plid},
                                                     {"itemid", itemPath},
                                                     {"preparepath", KeloPlayListPlPrepareItemsPath().toEncoded()}}));
    toPlayList.setContainerType(ContextMenuType);
    appendRow(rows, toPlayList, request);
    appendRow(
        rows,
        inputEntry(KELO_TRS("Move track"), pathWith(path(), {{"action", "moveTr"}, {"plid", plid}, {"from", seq}}),
                   KeloValue::fromString(seq)),
        request);
    appendRow(rows,
              menuEntry(KELO_TRS("Remove track"), KeloRolesType::Action,
                        pathWith(path(), {{"action", "removeTr"}, {"fromplid", plid}, {"seqnum", seq}})),
              request);
    return rows;
}

bool PlayListTrackContextNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const QString action = requestPath.parameter(QStringLiteral("action"));
    if (action == QLatin1String("moveTr")) {
        KeloPlayListPlMoveItems args;
        args.setPlid(intParameter(requestPath, QStringLiteral("plid")));
        args.setItems({intParameter(requestPath, QStringLiteral("from"))});
        args.setTo(toInt(request.value().toString(), -1));
        sendCommand(KeloPlayListPlMoveItemspath(), args, request);
        return true;
    }
    if (action == QLatin1String("removeTr")) {
        KeloPlayListPlRemoveItems args;
        args.setPlid(intParameter(requestPath, QStringLiteral("fromplid")));
        args.setItems({intParameter(requestPath, QStringLiteral("seqnum"))});
        sendCommand(KeloPlayListPlRemoveItemsPath(), args, request);
        return true;
    }
    return false;
}
