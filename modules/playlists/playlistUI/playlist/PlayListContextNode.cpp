#include "playlistUI/playlist/PlayListContextNode.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

PlayListContextNode* PlayListContextNode::create(CMNodes* nodes, const CMPath& path, PlayListManager* manager)
{
    return createNode<PlayListContextNode>(nodes, path, manager, ContextMenuType);
}

bool PlayListContextNode::getRowsRequest(const CMGetRowsRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    KELO_LOG_TRACE(PlayListsLogger, "plid: " << requestPath.parameter(QStringLiteral("plid"))
                                         << " clid: " << requestPath.parameter(QStringLiteral("clid")));
    PlayListBase* pl = manager ? manager->getPlayListByUid(intParameter(requestPath, QStringLiteral("plid"))) : nullptr;
    const QVariantList rows = pl ? entries(pl, request) : QVariantList();
    sendRowsReply(rows, rows.size(),
                  KELO_TRS("Playlist Context Menu - %1", QList<TrArg>{pl ? pl->getName() : QString()}),
                  createRolesFromPath(requestPath, request.roleNames()), request, true);
    return true;
}

QVariantList PlayListContextNode::entries(PlayListBase* pl, const CMGetRowsRequest& request) const
{
    const QString plid = toStr(pl->getUid());
    // The shuffle and repeat entries carry the state a choice switches to; their value is the current one.
    const QString shuffleTo = pl->getShuffle() ? QStringLiteral("0") : QStringLiteral("1");
    const QString repeatTo = pl->getRepeatAll() ? QStringLiteral("0") : QStringLiteral("1");
    QVariantList rows;
    appendRow(
        rows,
        menuEntry(KELO_TRS("Play"), KeloRolesType::Action, pathWith(path(), {{"action", "play"}, {"plid", plid}})),
        request);
    appendRow(rows,
              inputEntry(KELO_TRS("Rename"), pathWith(path(), {{"action", "rename"}, {"plid", plid}}),
                         KeloValue::fromString(pl->getName())),
              request);
    appendRow(rows,
              inputEntry(KELO_TRS("Set shuffle mode"),
                         pathWith(path(), {{"action", "shuffle"}, {"plid", plid}, {"mode", shuffleTo}}),
                         KeloValue::fromBool(pl->getShuffle())),
              request);
    appendRow(rows,
              inputEntry(KELO_TRS("Set repeat mode"),
                         pathWith(path(), {{"action", "repeat"}, {"plid", plid}, {"mode", repeatTo}}),
                         KeloValue::fromBool(pl->getRepeatAll())),
              request);
    appendRow(rows,
              menuEntry(KELO_TRS("Merge with playlist"), KeloRolesType::Container,
                        pathWith(KeloPlayListPlAddToPlaylistPath(), {{"action", "cmnode"}, {"fromplid", plid}})),
              request);
    appendCollectionEntries(rows, plid, request);
    appendRow(rows, separator(), request);
    appendRow(rows,
              menuEntry(KELO_TRS("Clear playlist"), KeloRolesType::Action,
                        pathWith(path(), {{"action", "clearPl"}, {"plid", plid}})),
              request);
    appendRow(rows,
              menuEntry(KELO_TRS("Delete playlist"), KeloRolesType::Action,
                        pathWith(path(), {{"action", "delPL"}, {"plid", plid}})),
              request);
    return rows;
}

void PlayListContextNode::appendCollectionEntries(QVariantList& rows, const QString& plid,
                                                  const CMGetRowsRequest& request) const
{
    if (collectionsVisible) {
        appendRow(rows,
                  menuEntry(KELO_TRS("Add to collection"), KeloRolesType::Container,
                            pathWith(KeloPlayListClAddtoCollectionPath(), {{"action", "cmnode"}, {"plid", plid}})),
                  request);
    }
    const CMPath requestPath = request.path();
    if (!requestPath.hasParameter(QStringLiteral("clid")))
        return;
    CollectionBase* cl = manager->getCollectionByUid(intParameter(requestPath, QStringLiteral("clid")));
    if (!cl)
        return;
    appendRow(rows,
              menuEntry(KELO_TRS("Remove from collection - %1", QList<TrArg>{cl->getName()}), KeloRolesType::Action,
                        pathWith(path(), {{"action", "delFromCl"}, {"plid", plid}, {"clid", toStr(cl->getUid())}})),
              request);
}

bool PlayListContextNode::setDataRequest(const CMSetDataRequest& request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const CMPath requestPath = request.path();
    const QString action = requestPath.parameter(QStringLiteral("action"));
    const int plid = intParameter(requestPath, QStringLiteral("plid"));
    const QVariant value = request.value();
    const bool valueIsBool = value.userType() == QMetaType::Bool;
    if (action == QLatin1String("play")) {
        KeloPlayListPlId args;
        args.setPlid(plid);
        sendCommand(KeloPlayListPlPlayPath(), args, request);
    } else if (action == QLatin1String("rename")) {
        KeloPlayListPlSetName args;
        args.setPlid(plid);
        args.setName(valueString(request));
        sendCommand(KeloPlayListPlSetNamePath(), args, request);
    } else if (action == QLatin1String("shuffle")) {
        KeloPlayListPlSetShuffle args;
        args.setPlid(plid);
        if (valueIsBool || requestPath.hasParameter(KeloPlayListArgs::modeKey()))
            args.setMode(valueIsBool ? int(value.toBool()) : intParameter(requestPath, KeloPlayListArgs::modeKey()));
        sendCommand(KeloPlayListPlSetShufflePath(), args, request);
    } else if (action == QLatin1String("repeat")) {
        // The repeat command counts all as 2, so true becomes 2; a "mode" parameter passes unchanged.
        KeloPlayListPlSetRepeat args;
        args.setPlid(plid);
        if (valueIsBool || requestPath.hasParameter(KeloPlayListArgs::modeKey()))
            args.setMode(valueIsBool ? int(value.toBool()) * 2
                                     : intParameter(requestPath, KeloPlayListArgs::modeKey()));
        sendCommand(KeloPlayListPlSetRepeatPath(), args, request);
    } else if (action == QLatin1String("delFromCl")) {
        KeloPlayListClAddRemoveItem args;
        args.setPlid(plid);
        args.setClid(intParameter(requestPath, QStringLiteral("clid")));
        sendCommand(KeloPlayListClRemoveItemPath(), args, request);
    } else if (action == QLatin1String("clearPl")) {
        KeloPlayListPlId args;
        args.setPlid(plid);
        sendCommand(KeloPlayListPlClearPath(), args, request);
    } else if (action == QLatin1String("delPL")) {
        deletePlayList(plid, request);
    } else {
        return false;
    }
    return true;
}

void PlayListContextNode::deletePlayList(int plid, const CMSetDataRequest& request)
{
    KeloPlayListPlId args;
    args.setPlid(plid);
    // The command's own answer is not passed on: the menu of a deleted playlist must be left, which
    // an event without a path tells the user interface.
    sendCommand(KeloPlayListPlDeletePath(), args, request, [](const QVariant&) {
        KeloEvent event;
        event.setRowsType(1);
        KeloActionReply reply;
        reply.setXclass(QStringLiteral("KeloActionReply"));
        reply.setEvents({event});
        return reply.toVariant();
    });
}
