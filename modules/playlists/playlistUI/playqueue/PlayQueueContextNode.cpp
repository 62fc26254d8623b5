#include "playlistUI/playqueue/PlayQueueContextNode.h"

#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayQueueContextNode* PlayQueueContextNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<PlayQueueContextNode>(nodes, path, manager, ContextMenuType);
}

bool PlayQueueContextNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    QVariantList rows;
    PlayListBase* queue = manager ? manager->getPlayQueue() : nullptr;
    if (queue) {
        const QString plid = toStr(queue->getUid());
        appendRow(rows,
                  menuEntry(KELO_TRS("Play"), KeloRolesType::Action,
                            pathWith(path(), {{"action", "playPl"}, {"plid", plid}})),
                  request);
        appendRow(rows,
                  menuEntry(KELO_TRS("Merge with playlist"), KeloRolesType::Container,
                            pathWith(KeloPlayListPlAddToPlaylistPath(), {{"action", "cmnode"}, {"fromplid", plid}})),
                  request);
        appendRow(rows, separator(), request);
        appendRow(rows,
                  menuEntry(KELO_TRS("Clear"), KeloRolesType::Action,
                            pathWith(path(), {{"action", "clearPl"}, {"plid", plid}})),
                  request);
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("PlayQueue Context Menu"),
                  createRolesFromPath(request.path(), request.roleNames()), request, true);
    return true;
}

bool PlayQueueContextNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const QString action = requestPath.parameter(QStringLiteral("action"));
    CMPath command;
    if (action == QLatin1String("playPl"))
        command = KeloPlayListPlPlayPath();
    else if (action == QLatin1String("clearPl"))
        command = KeloPlayListPlClearPath();
    else
        return false;
    KeloPlayListPlId args;
    args.setPlid(intParameter(requestPath, QStringLiteral("plid")));
    sendCommand(command, args, request);
    return true;
}
