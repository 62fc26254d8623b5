#include "playlistUI/BaseNode.h"

#include <QTimer>
#include <algorithm>

#include "CMGlobal.h"
#include "CMRoot.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "ReplyTimeout.h"
#include "PlayListsLog.h"

namespace {
// Shown unless a setting hides it: without a settings tree, or while the setting is unset, it shows.
bool readVisibility(const CMPath& setting)
{
    const QVariant value = CMRoot() ? CMRoot()->getValue(setting) : QVariant();
    return !value.isValid() || KeloValue(KeloHash(value.toHash())).bool_();
}
}  // namespace

BaseNode::BaseNode(const CMPath& path, PlayListManager* manager)
    : CMListRowsNode(path)
    , manager(manager)
    , playqueueVisible(readVisibility(KeloPlayListSettingsPlayqueueVisibilityPath()))
    , collectionsVisible(readVisibility(KeloPlayListSettingsCollectionsVisibilityPath()))
{}

int BaseNode::toInt(const QString& text, int fallback)
{
    bool ok = false;
    const int value = text.toInt(&ok, 10);
    return ok ? value : fallback;
}

QString BaseNode::toStr(int value)
{
    return QString::number(value);
}

KeloRoles BaseNode::createRolesFromPath(const CMPath& path, const QStringList& roleNames) const
{
    return getDataRoles(roleNames, path.parameters());
}

namespace {
// True when text is the same in a path's query as it is (no byte of it is escaped there).
bool plainInQuery(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        const ushort u = c.unicode();
        return u > 0x20 && u < 0x7f && u != '&' && u != '=' && u != '#' && u != '%' && u != '+';
    });
}

CMPath trackContextPath(int plid)
{
    CMPath path = KeloPlayListPlTrackContextPath();
    path.addParameter(QStringLiteral("action"), QStringLiteral("cmnode"));
    path.addParameter(QStringLiteral("plid"), BaseNode::toStr(plid));
    return path;
}
}  // namespace

BaseNode::TrackContextMenu BaseNode::trackContextMenu(int plid) const
{
    KELO_ASSERT_THREAD(this);
    // The menu's title keeps the translation context it has always had.
    static const QString context = QStringLiteral("BaseNode::addContextMenuToRoles");
    const CMPath path = trackContextPath(plid);
    return TrackContextMenu(contextRoles(TrString(context, QStringLiteral("Playlist")), path), path.toEncoded());
}

KeloRoles BaseNode::TrackContextMenu::addTo(KeloRoles roles) const
{
    const QString itemId = roles.id();
    const QString seqNum = toStr(roles.value().i32_());
    KeloRoles menu = m_menu;
    if (plainInQuery(itemId)) {
        // The row parameters come last in the path, so its text is the shared start and them.
        menu.set(KeloRoles::Path(), m_pathStart + QLatin1String("&itemid=") + itemId + QLatin1String("&seqnum=") + seqNum);
    } else {
        CMPath path(m_pathStart);
        path.addParameter(QStringLiteral("itemid"), itemId);
        path.addParameter(QStringLiteral("seqnum"), seqNum);
        menu.setPath(path);
    }
    roles.setContext(menu);
    return roles;
}

void BaseNode::sendRowsReply(const QVariantList& rows, int rowsCount, const TrString& title, const KeloRoles& roles,
                             CMGetRowsRequest request, bool paging)
{
    KELO_LOG_TRACE(PlayListsLogger, "rowsCount: " << rowsCount);
    setTitle(title);
    KeloRoles replyRoles = roles;
    replyRoles.setTitle(title);
    KeloRowsRoles reply;
    reply.setRoles(replyRoles);
    reply.setRowsCount(rowsCount);

    const int last = qMin(rowsCount, rows.size()) - 1;
    if (!paging || last < 0) {
        reply.setRows(rows);
    } else {
        const int from = qBound(0, request.fromRow(), last);
        const int to = qBound(0, request.toRow(), last);
        if (to < from)
            reply.setRows(rows.mid(to, 1));
        else if (from == 0 && to == rows.size() - 1)
            reply.setRows(rows);
        else
            reply.setRows(rows.mid(from, to - from + 1));
    }
    KELO_LOG_TRACE(PlayListsLogger, "roles: " << replyRoles.hash());
    request.reply().setValue(reply);
    KELO_LOG_TRACE(PlayListsLogger, "sent reply with " << rows.size() << " lines");
}

void BaseNode::appendRow(QVariantList& rows, const KeloRoles& roles, const CMGetRowsRequest& request)
{
    rows.append(CMGlobal::itemRolesToList(roles, request.roleNames()));
}

CMPath BaseNode::pathWith(const CMPath& base, const CMPath& from, const QList<QPair<QString, QString>>& extra)
{
    CMPath path = base.base();
    for (const auto& parameter : from.parameters()) {
        const bool replaced =
            std::any_of(extra.begin(), extra.end(), [&](const auto& e) { return e.first == parameter.first; });
        if (!replaced)
            path.addParameter(parameter.first, parameter.second);
    }
    for (const auto& parameter : extra)
        path.addParameter(parameter.first, parameter.second);
    return path;
}

CMPath BaseNode::pathWith(const CMPath& base, const QList<QPair<QString, QString>>& extra)
{
    return pathWith(base, CMPath(), extra);
}

int BaseNode::intParameter(const CMPath& path, const QString& key, int fallback)
{
    return toInt(path.parameter(key), fallback);
}

KeloRoles BaseNode::menuEntry(const TrString& title, int type, const CMPath& path)
{
    KeloRoles roles;
    roles.setTitle(title);
    roles.setPath(path);
    roles.setType(type);
    return roles;
}

KeloRoles BaseNode::inputEntry(const TrString& title, const CMPath& path, const KeloValue& value)
{
    KeloRoles roles = menuEntry(title, KeloRolesType::Input, path);
    roles.setValue(value);
    roles.setModifiable(true);
    return roles;
}

KeloRoles BaseNode::separator()
{
    KeloRoles roles;
    roles.setType(KeloRolesType::Separator);
    return roles;
}

KeloRoles BaseNode::contextRoles(const TrString& title, const CMPath& path)
{
    KeloRoles roles = menuEntry(title, KeloRolesType::Container, path);
    roles.setContainerType(ContextMenuType);
    return roles;
}

KeloRoles BaseNode::playlistRow(int uid, const QString& name, bool playable)
{
    KeloRoles roles = menuEntry(TrString(name), KeloRolesType::Container, KeloPlayListPlGetItemsPath() + uid);
    if (playable)
        roles.setContainerPlayable(true);
    roles.setMediaData(playLogicMediaData());
    return roles;
}

KeloMediaData BaseNode::playLogicMediaData()
{
    static const KeloMediaData mediaData = [] {
        KeloMetaData metaData;
        metaData.setPlayLogicPath(KeloPlayListsPlayLogicPath());
        KeloMediaData data;
        data.setMetaData(metaData);
        return data;
    }();
    return mediaData;
}

void BaseNode::sendCommand(const CMPath& command, const KeloHash& args, const CMSetDataRequest& request,
                           const std::function<QVariant(const QVariant&)>& answerOf)
{
    KELO_LOG_TRACE(PlayListsLogger, "command: " << command.toEncoded() << " args: " << args.hash());
    CMRoot()->forward(request, command, args.toVariant(), answerOf);
    const CMVoidReply reply = request.reply();
    if (!reply.isFinished())
        QTimer::singleShot(ReplyTimeout::ms, this, [reply]() { ReplyTimeout::answer(reply); });
}

QString BaseNode::valueString(const CMSetDataRequest& request)
{
    const QVariant value = request.value();
    return value.userType() == QMetaType::QString ? value.toString() : QString();
}
