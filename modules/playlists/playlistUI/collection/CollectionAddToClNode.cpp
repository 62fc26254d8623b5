#include "playlistUI/collection/CollectionAddToClNode.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

CollectionAddToClNode* CollectionAddToClNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<CollectionAddToClNode>(nodes, path, manager, ContextMenuType);
}

bool CollectionAddToClNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    KELO_LOG_TRACE(PlayListsLogger, "path: " << requestPath.toEncoded());
    QVariantList rows;
    if (manager) {
        appendRow(rows,
                  inputEntry(KELO_TRS("Create new collection"), pathWith(path(), requestPath, {{"action", "createCl"}}),
                             KeloValue::fromString(QString())),
                  request);
        appendRow(rows, separator(), request);
        for (CollectionBase* cl : manager->getAllCollection()) {
            appendRow(rows,
                      menuEntry(TrString(cl->getName()), KeloRolesType::Action,
                                pathWith(path(), requestPath, {{"action", "addItem"}, {"clid", toStr(cl->getUid())}})),
                      request);
        }
    }
    sendRowsReply(rows, rows.size(), KELO_TRS("Add playlist to collection"),
                  createRolesFromPath(requestPath, request.roleNames()), request, true);
    return true;
}

bool CollectionAddToClNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const QString action = requestPath.parameter(QStringLiteral("action"));
    if (action == QLatin1String("createCl")) {
        KeloPlayListClCreate args;
        args.setName(valueString(request));
        sendCommand(KeloPlayListClCreatePath(), args, request);
        return true;
    }
    if (action == QLatin1String("addItem")) {
        KeloPlayListClAddRemoveItem args;
        args.setPlid(intParameter(requestPath, QStringLiteral("plid")));
        args.setClid(intParameter(requestPath, QStringLiteral("clid")));
        sendCommand(KeloPlayListClAddItemPath(), args, request);
        return true;
    }
    return false;
}
