#include "playlistUI/playlist/PlayListAddModeNode.h"

#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayListsLog.h"

PlayListAddModeNode* PlayListAddModeNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<PlayListAddModeNode>(nodes, path, manager, ContextMenuType);
}

bool PlayListAddModeNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    KELO_LOG_TRACE(PlayListsLogger, "path: " << requestPath.toEncoded());
    QVariantList rows;
    if (manager) {
        const QList<QPair<TrString, QString>> modes = {
            {KELO_TRS("Now"), toStr(KeloPlayListAddPosition::Now)},
            {KELO_TRS("After current"), toStr(KeloPlayListAddPosition::AfterCurrent)},
            {KELO_TRS("Append"), toStr(KeloPlayListAddPosition::Append)},
        };
        for (const auto& mode : modes)
            appendRow(
                rows,
                menuEntry(mode.first, KeloRolesType::Action, pathWith(path(), requestPath, {{"mode", mode.second}})),
                request);
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Playlists"), createRolesFromPath(requestPath, request.roleNames()),
                  request, true);
    return true;
}

bool PlayListAddModeNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    KeloPlayListPlAddItems args;
    args.setPlid(intParameter(requestPath, QStringLiteral("plid")));
    args.setFromPlid(intParameter(requestPath, QStringLiteral("fromplid")));
    if (requestPath.hasParameter(KeloPlayListArgs::modeKey()))
        args.setMode(intParameter(requestPath, KeloPlayListArgs::modeKey()));
    QStringList items;
    if (requestPath.hasParameter(QStringLiteral("itemid")))
        items.append(CMPath(requestPath.parameter(QStringLiteral("itemid"))).toEncoded());
    args.setItems(items);
    sendCommand(KeloPlayListPlAddItemsPath(), args, request);
    return true;
}
