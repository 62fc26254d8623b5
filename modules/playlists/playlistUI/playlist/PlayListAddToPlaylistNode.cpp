#include "playlistUI/playlist/PlayListAddToPlaylistNode.h"

#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayListAddToPlaylistNode* PlayListAddToPlaylistNode::create(CMNodes* nodes, const CMPath& path,
                                                             PlayListManager* manager)
{
    return createNode<PlayListAddToPlaylistNode>(nodes, path, manager, ContextMenuType);
}

bool PlayListAddToPlaylistNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    KELO_LOG_TRACE(PlayListsLogger, "path: " << requestPath.toEncoded());
    QVariantList rows;
    if (manager) {
        QList<QPair<QString, QString>> createParameters;
        if (requestPath.hasParameter(QStringLiteral("itemid")))
            createParameters.append({QStringLiteral("itemid"), requestPath.parameter(QStringLiteral("itemid"))});
        createParameters.append({QStringLiteral("action"), QStringLiteral("createPl")});
        appendRow(rows,
                  inputEntry(KELO_TRS("Create new playlist"), pathWith(path(), createParameters),
                             KeloValue::fromString(QString())),
                  request);
        appendRow(rows, separator(), request);
        for (PlayListBase* pl : manager->getAllPlayList()) {
            KELO_LOG_TRACE(PlayListsLogger, "plname: " << pl->getName() << " plid: " << pl->getUid());
            KeloRoles roles =
                menuEntry(TrString(pl->getName()), KeloRolesType::Container,
                          pathWith(KeloPlayListPlSelectAddModePath(), requestPath, {{"plid", toStr(pl->getUid())}}));
            roles.setContainerPlayable(true);
            roles.setContainerType(ContextMenuType);
            appendRow(rows, roles, request);
        }
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Playlists"), createRolesFromPath(requestPath, request.roleNames()),
                  request, true);
    return true;
}

bool PlayListAddToPlaylistNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    if (request.path().parameter(QStringLiteral("action")) != QLatin1String("createPl"))
        return false;
    KeloPlayListPlCreate args;
    args.setName(valueString(request));
    sendCommand(KeloPlayListPlCreatePath(), args, request);
    return true;
}
