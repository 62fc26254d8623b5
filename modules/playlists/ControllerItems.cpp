// Adding items: from browse paths through a group of prepare requests (plAddItems), the module's own
// answer to such a request (plPrepareItems), and finished items from outside (plAddExternalItems).
#include "Controller.h"

#include <QMap>
#include <QTimer>

#include "CMGlobal.h"
#include "CMRequestGroup.h"
#include "ItemSource.h"
#include "ItemTextReader.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloRoles.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "ReplyTimeout.h"
#include "PlayListsLog.h"

namespace {
// The add position of an argument record that may carry a mode: append when it carries none. An
// unknown mode is refused here so that no number outside the enumeration reaches the store.
template <class Args>
bool addPositionOf(const Args& args, KeloPlayListAddPosition::Enum* position)
{
    const int mode = args.hasMode() ? args.mode() : int(KeloPlayListAddPosition::Append);
    if (mode < KeloPlayListAddPosition::Now || mode > KeloPlayListAddPosition::Append)
        return false;
    *position = KeloPlayListAddPosition::Enum(mode);
    return true;
}

// The entry uid after a base path: "playlists:item/12" after "playlists:item/" gives "12".
QString tailAfter(const CMPath& path, const CMPath& base)
{
    QString tail = path.base().toEncoded().mid(base.toEncoded().size());
    if (tail.startsWith(QLatin1Char('/')))
        tail.remove(0, 1);
    return tail;
}

// Only evaluated when TRACE is on.
QString describe(const QList<CMPath>& paths)
{
    QStringList encoded;
    for (const CMPath& path : paths)
        encoded.append(path.toEncoded());
    return encoded.join(QStringLiteral(", "));
}

QString describe(const QList<KeloPlayListItem>& items)
{
    QStringList texts;
    for (const KeloPlayListItem& item : items)
        texts.append(item.title() + QStringLiteral(" <") + item.url() + QLatin1Char('>'));
    return texts.join(QStringLiteral(", "));
}

// The add request's record, its items read straight from the request's JSON text when it came as text.
KeloPlayListPlAddExternalItems addExternalItemsArgs(const CMSetDataRequest& request)
{
    KeloPlayListPlAddExternalItems args;
    const QByteArray text = request.valueText();
    if (text.isEmpty() || !args.readJson(text))
        args = KeloPlayListPlAddExternalItems(KeloHash(request.value().toHash()));
    return args;
}
}  // namespace

void Controller::plAddItems(CMSetDataRequest request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not add items to playlist.");
    const KeloPlayListPlAddItems args(KeloHash(request.value().toHash()));
    QString msg;
    ReqGroupProperties properties;
    properties.request = request;
    properties.plid = args.plid();
    properties.fromPlid = args.fromPlid();
    if (!checkPlayListId(properties.plid, what, msg))
        return setReply(request, false, msg);
    if (!addPositionOf(args, &properties.position))
        return setReply(request, false, buildErrMsg(what, KELO_TR("Invalid add mode."), QStringLiteral("mode")));

    QList<CMPath> paths;
    for (const QVariant& item : args.items())
        paths.append(CMPath::fromQVariant(item));
    if (paths.isEmpty() && properties.fromPlid != -1) {
        KELO_LOG_TRACE(PlayListsLogger, QStringLiteral("adding whole playlist (id: %1) to playlist (id: %2)")
                                        .arg(properties.fromPlid)
                                        .arg(properties.plid));
        PlayListBase* source = manager->getPlayListByUid(properties.fromPlid);
        if (!checkPlayList(source, properties.fromPlid, what, msg))
            return setReply(request, false, msg);
        for (const KeloPlayListItem& entry : source->getItems(0, source->getSize()))
            paths.append(KeloPlayListItemPath() + entry.uid());
        properties.merge = true;
    }
    if (paths.isEmpty())
        return setReply(request, false, buildErrMsg(what, KELO_TR("Please select one or more items to add."), msg));
    sendPrepareRequests(properties, paths);
}

void Controller::sendPrepareRequests(const ReqGroupProperties& properties, const QList<CMPath>& paths)
{
    KELO_LOG_TRACE(PlayListsLogger, "itemList: " << describe(paths));
    QMap<QString, QStringList> byPrefix;
    QStringList prefixOrder;
    for (const CMPath& path : paths) {
        if (!byPrefix.contains(path.prefix()))
            prefixOrder.append(path.prefix());
        byPrefix[path.prefix()].append(path.toEncoded());
    }
    auto* group = new CMRequestGroup(this);
    CMGlobal::connect(group, &CMRequestGroup::finished, this, &Controller::on_prepareItemsGroup_finished);
    // The group announces finished only after this call has returned, so storing the properties
    // after the invokes is safe even when every reply finishes at once.
    for (const QString& prefix : prefixOrder) {
        const CMPath call = CMPath::fromPrefix(prefix);
        KELO_LOG_TRACE(PlayListsLogger, "requestPrefix: " << prefix << " call: " << call.toEncoded());
        KELO_LOG_TRACE(PlayListsLogger, "items: " << byPrefix.value(prefix));
        group->addInvoke(KeloPlayListPrepareItems(), call, byPrefix.value(prefix));
    }
    m_ReqGroupPropertiesHash.insert(group, properties);
    // A prepare that never comes back does not hold the add for ever.
    QTimer::singleShot(ReplyTimeout::ms, group, [this, group]() { on_prepareItemsGroup_timeout(group); });
}

void Controller::on_prepareItemsGroup_timeout(CMRequestGroup* group)
{
    if (!m_ReqGroupPropertiesHash.contains(group))
        return;
    const ReqGroupProperties properties = m_ReqGroupPropertiesHash.take(group);
    KELO_LOG_ERROR(PlayListsLogger, "The items to add were not prepared within " << ReplyTimeout::ms << " ms");
    ReplyTimeout::answer(properties.request.reply());
    group->disconnect(this);
    group->deleteLater();
}

void Controller::plPrepareItems(CMSetDataRequest request)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QVariantList prepared = preparePlaylistItems(request.value().toStringList());
    KELO_LOG_TRACE(PlayListsLogger, "preparedItems: " << prepared.size() << " items");
    request.reply().setValue(prepared);
}

QVariantList Controller::preparePlaylistItems(const QStringList& paths)
{
    KELO_ASSERT_THREAD(this);
    QVariantList prepared;
    for (const QString& text : paths) {
        const CMPath path(text);
        const bool isEntry = path.startsWith(KeloPlayListItemPath());
        const bool isContainer = !isEntry && path.startsWith(KeloPlayListPlGetItemsPath());
        if (!isEntry && !isContainer) {
            KELO_LOG_DEBUG(PlayListsLogger, "not a playlist path, skipped: " << text);
            continue;
        }
        const QString uidText = tailAfter(path, isEntry ? KeloPlayListItemPath() : KeloPlayListPlGetItemsPath());
        bool ok = false;
        const int uid = uidText.toInt(&ok);
        if (!ok) {
            KELO_LOG_ERROR(PlayListsLogger, "conversion error occured: uid, str=" << uidText << " path=" << text);
            continue;
        }
        if (isEntry)
            appendEntry(uid, text, &prepared);
        else
            appendPlayList(uid, text, &prepared);
    }
    return prepared;
}

void Controller::appendEntry(int uid, const QString& path, QVariantList* prepared)
{
    const KeloPlayListItem item = manager->getPlayListItemByUid(uid);
    if (!item.isValid()) {
        KELO_LOG_ERROR(PlayListsLogger, "preparePlaylistItems called for invalid playlist item " << path);
        return;
    }
    prepared->append(item.toVariant());
    KELO_LOG_INFO(PlayListsLogger, "Expand playlist " << path << " for playlist insertion.");
}

void Controller::appendPlayList(int uid, const QString& path, QVariantList* prepared)
{
    PlayListBase* pl = manager->getPlayListByUid(uid);
    if (!pl) {
        KELO_LOG_ERROR(PlayListsLogger, "preparePlaylistItems called for invalid playlist container " << path);
        return;
    }
    KELO_LOG_INFO(PlayListsLogger, "Expand " << pl->getSize() << " tracks for playlist insertion.");
    for (const KeloPlayListItem& item : pl->getItems(0, pl->getSize()))
        prepared->append(item.toVariant());
}

void Controller::on_prepareItemsGroup_finished()
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    auto* group = qobject_cast<CMRequestGroup*>(sender());
    if (!group) {
        KELO_LOG_FATAL(PlayListsLogger, "Called without request group as sender");
        return;
    }
    if (!m_ReqGroupPropertiesHash.contains(group)) {
        KELO_LOG_FATAL(PlayListsLogger, "Called without request group stored in m_ReqGroupPropertiesHash");
        return;
    }
    const ReqGroupProperties properties = m_ReqGroupPropertiesHash.take(group);
    QString msg;
    const int added = addItemsFromAllReplays(properties, group, &msg);
    KELO_LOG_TRACE(PlayListsLogger, "numItemsAdded: " << std::max(added, 0) << " addItemsResMsg: " << msg);
    // A merge moves the source's entries; merging a playlist into itself must not delete it.
    if (added > 0 && properties.merge && properties.fromPlid != properties.plid)
        manager->deletePlayList(properties.fromPlid);
    finishAddItems(properties, added, msg);
    group->deleteLater();
}

int Controller::addItemsFromAllReplays(const ReqGroupProperties& properties, CMRequestGroup* group, QString* msg)
{
    KELO_LOG_TRACE(PlayListsLogger, "curReplyList: " << group->getReplyList().size() << " replies");
    QList<KeloPlayListItem> items;
    for (const CMVoidReply& reply : group->getReplyList()) {
        reply.waitForFinished();
        if (reply.hasError()) {
            KELO_LOG_ERROR(PlayListsLogger, "replay error: " << reply.error().Name());
            continue;
        }
        for (const QVariant& item : reply.value().toList())
            items.append(KeloPlayListItem(KeloHash(item.toHash())));
    }
    PlayListBase* pl = manager->getPlayListByUid(properties.plid);
    if (!pl) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot find playlist with plid: " << properties.plid);
        *msg = QStringLiteral("%1 (%2)").arg(KELO_TR("There is no playlist with this ID."),
                                            QString::number(properties.plid));
        return -1;
    }
    return addItemsToPlaylist(pl, items, properties.position, msg);
}

void Controller::finishAddItems(const ReqGroupProperties& properties, int added, QString msg)
{
    const QString what = KELO_TR("Could not add items to playlist.");
    if (added < 1) {
        msg = buildErrMsg(what, KELO_TR("No items were added."), msg);
    } else if (PlayListBase* pl = manager->getPlayListByUid(properties.plid)) {
        KELO_LOG_TRACE(PlayListsLogger, "plsize: " << pl->getSize());
        if (pl->getSize() > 0 && properties.position == KeloPlayListAddPosition::Now && !startAddedItem(pl, added))
            msg = buildErrMsg(what, KELO_TR("Cannot get last sequence number."), QString());
        msg = buildOkMsg(KELO_TR("Items added successfully to playlist."), pl->getName(), msg);
    } else {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << properties.plid << " doesn't exist");
    }
    // Nothing added without a failure (the items limit) is still a success.
    setReply(properties.request, added >= 0, msg);
    KELO_LOG_INFO(PlayListsLogger, "Add items finished, num added: " << added);
}

// The first added entry sits right behind the last played one, or at the end of a playlist that
// has no last played entry.
bool Controller::startAddedItem(PlayListBase* pl, int added)
{
    const int last = pl->getLastSequenceNumber();
    const int next = last >= 0 ? last + 1 : pl->getSize() - added;
    KELO_LOG_TRACE(PlayListsLogger, "addMode: now lastSeqNum: " << last << " nextSeqNum: " << next);
    const QList<KeloPlayListItem> entries = pl->getItems(next, next);
    if (entries.size() != 1)
        return false;
    tryStartItem(entries.first(), pl, next);
    return true;
}

int Controller::addItemsToPlaylist(PlayListBase* pl, const QList<KeloPlayListItem>& items,
                                   KeloPlayListAddPosition::Enum position, QString* msg)
{
    KELO_LOG_TRACE(PlayListsLogger, "itemList: " << describe(items));
    CheckedItemList offered(items);
    return addItemsToPlaylist(pl, offered, position, msg);
}

int Controller::addItemsToPlaylist(PlayListBase* pl, OfferedItems& items, KeloPlayListAddPosition::Enum position,
                                   QString* msg)
{
    KELO_ASSERT_THREAD(this);
    // An offer refused or empty beforehand never reaches the store; one still being read is checked
    // while it is stored, and its transaction keeps nothing unless every entry passed.
    const bool hopeless = items.decidedBeforehand() && (items.refused() || items.kept() == 0);
    const int res = hopeless ? -1 : items.storeIn(pl, position);
    items.finish();
    if (items.refused()) {
        *msg = KELO_TR("Missing title or type==audio or [resource uri and prePlayPath]");
        return -1;
    }
    if (items.kept() == 0) {
        KELO_LOG_TRACE(PlayListsLogger, "no playitem found");
        *msg = KELO_TR("No playitem found.");
        return -1;
    }
    KELO_LOG_TRACE(PlayListsLogger, "addItems() res: " << res);
    int added = 0;
    if (res >= 1) {
        *msg = KELO_TR("%1 items added.").arg(res);
        added = res;
    } else if (res == -2) {
        *msg = buildErrMsg(KELO_TR("Unable to add more items to the playlist."), KELO_TR("Items reached limit."),
                           QString());
    }
    KELO_LOG_TRACE(PlayListsLogger, "added " << added << " items");
    return added;
}

Controller::ExternalAdd Controller::addExternalItemsWhileReading(const QByteArray& text, QString* msg)
{
    ExternalAdd add;
    ItemTextReader reader(text);
    KeloPlayListPlAddExternalItems head;
    // Only adds at the end are stored while read (others open a gap as wide as the add, known only at
    // its end); those and a head the add refuses are left to the whole reading, which answers as always.
    if (!reader.waitForHead(&head) || !(add.pl = manager->getPlayListByUid(head.plid())) ||
        !addPositionOf(head, &add.position) || add.position != KeloPlayListAddPosition::Append)
        return add;
    add.added = addItemsToPlaylist(add.pl, reader, add.position, msg);
    add.handled = reader.outcome() != ItemTextReader::Outcome::Declined;
    add.offered = reader.offered();
    return add;
}

bool Controller::plAddExternalItems(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not add external items to playlist.");
    ExternalAdd add;
    const QByteArray text = request.valueText();
    if (text.size() >= StreamedAddBytes)
        add = addExternalItemsWhileReading(text, &msg);
    if (!add.handled) {
        add = ExternalAdd();
        msg.clear();
        const KeloPlayListPlAddExternalItems args = addExternalItemsArgs(request);
        const int plid = args.plid();
        if (!checkPlayListId(plid, what, msg))
            return false;
        add.pl = manager->getPlayListByUid(plid);
        if (!checkPlayList(add.pl, plid, what, msg)) {
            KELO_LOG_ERROR(PlayListsLogger, "Cannot add items to invalid playlist id: " << plid);
            return false;
        }
        if (!addPositionOf(args, &add.position)) {
            msg = buildErrMsg(what, KELO_TR("Invalid add mode."), QStringLiteral("mode"));
            return false;
        }
        const QList<KeloPlayListItem> items = args.items();
        add.offered = items.size();
        if (add.offered > 0)
            add.added = addItemsToPlaylist(add.pl, items, add.position, &msg);
    }
    PlayListBase* pl = add.pl;
    if (add.offered == 0) {
        msg = buildErrMsg(what, KELO_TR("Please select one or more items to add."), QString());
        KELO_LOG_ERROR(PlayListsLogger, "Cannot add zero items to playlist id: " << pl->getUid());
        return false;
    }
    KELO_LOG_TRACE(PlayListsLogger, "addItemsRes: " << add.added);
    if (add.added <= 0) {
        msg = buildErrMsg(what, KELO_TR("No items were added."), QString());
        KELO_LOG_ERROR(PlayListsLogger, "No items were added to playlist id: " << pl->getUid());
        return false;
    }
    if (add.position == KeloPlayListAddPosition::Now) {
        KELO_LOG_TRACE(PlayListsLogger, "plsize: " << pl->getSize());
        if (!startAddedItem(pl, add.added)) {
            msg = buildErrMsg(what, KELO_TR("Cannot get last item."), QString());
            KELO_LOG_ERROR(PlayListsLogger, "Cannot get last item for playlist id: " << pl->getUid());
            return false;
        }
    }
    msg = buildOkMsg(KELO_TR("Items added successfully to playlist."), pl->getName(), msg);
    KELO_LOG_INFO(PlayListsLogger, "Items added successfully to playlist id: " << pl->getUid());
    return true;
}
