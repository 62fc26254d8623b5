#pragma once
// The base of every browse node under "playlists:". A node answers rows requests on its path (paged
// through sendRowsReply) and turns set-data requests on its menu entries into one command each, sent
// to the worker that owns the command path. Nodes are created, registered and retired by PlayListUI
// and its watchers; they live in the worker's thread and are used only from it.
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <functional>

#include "CMNode.h"
#include "CMNodes.h"
#include "CMPath.h"
#include "CMReply.h"
#include "CMRequest.h"
#include "KeloRoles.h"
#include "Language.h"

class PlayListManager;

class BaseNode : public CMListRowsNode
{
    Q_OBJECT
public:
    // manager is not owned and may be null: a node without a manager lists nothing. The visibility
    // settings of the play queue and of collections are read here, once; later changes are not seen.
    BaseNode(const CMPath& path, PlayListManager* manager);

    // Decimal conversions of path parameters: fallback when text is not a whole number.
    static int toInt(const QString& text, int fallback);
    static QString toStr(int value);

    // The context menu of the track rows of playlist plid. A page's rows share one: it is built once
    // and each row's copy differs from the others in its path only (the row's id and number).
    class TrackContextMenu
    {
    public:
        TrackContextMenu(const KeloRoles& menu, const QString& pathStart) : m_menu(menu), m_pathStart(pathStart) {}
        // The track row with its context menu attached.
        KeloRoles addTo(KeloRoles roles) const;

    private:
        KeloRoles m_menu;     // without a path
        QString m_pathStart;  // the menu's path up to its row parameters
    };
    TrackContextMenu trackContextMenu(int plid) const;
    KeloRoles addContextMenuToRoles(KeloRoles roles, int plid) const { return trackContextMenu(plid).addTo(roles); }

protected:
    static constexpr int ContextMenuType = KeloRolesContainerType::ContextMenu;

    // A new Node registered in nodes at path (when nodes is not null); the registry does not own it:
    // retire it with CMNode::deleteLater. Each node class offers a create of this form. Requests a
    // node class does not answer keep the SDK's handling: not taken.
    template <class Node>
    static Node* createNode(CMNodes* nodes, const CMPath& path, PlayListManager* manager, int containerType = 0)
    {
        auto* node = new Node(path, manager);
        if (containerType != 0)
            node->setContainerType(containerType);
        node->setNodes(nodes);
        return node;
    }

    // This node's own roles for a request on path with its parameters.
    KeloRoles createRolesFromPath(const CMPath& path, const QStringList& roleNames) const;

    // Answers request with rows. With paging, rows holds all rowsCount rows and the requested range
    // (clamped to the rows; fromRow above toRow gives the single row toRow) is cut out of it;
    // without paging, rows is sent as it is, with rowsCount as the total.
    void sendRowsReply(const QVariantList& rows, int rowsCount, const TrString& title, const KeloRoles& roles,
                       CMGetRowsRequest request, bool paging);
    // Appends roles to rows as the request asked for them (its role names).
    static void appendRow(QVariantList& rows, const KeloRoles& roles, const CMGetRowsRequest& request);

    // base with the parameters of from, then extra in order; a parameter of from whose key is in
    // extra is left out, so "action" and the like are replaced, never doubled.
    static CMPath pathWith(const CMPath& base, const CMPath& from, const QList<QPair<QString, QString>>& extra);
    static CMPath pathWith(const CMPath& base, const QList<QPair<QString, QString>>& extra);
    static int intParameter(const CMPath& path, const QString& key, int fallback = -1);

    // Row builders shared by the nodes.
    static KeloRoles menuEntry(const TrString& title, int type, const CMPath& path);
    static KeloRoles inputEntry(const TrString& title, const CMPath& path, const KeloValue& value);
    static KeloRoles separator();
    static KeloRoles contextRoles(const TrString& title, const CMPath& path);
    // A playlist row that opens the playlist's items and plays it through the module's play logic.
    static KeloRoles playlistRow(int uid, const QString& name, bool playable);
    static KeloMediaData playLogicMediaData();

    // Forwards request to command with its argument record (CMAbstractWorker::forward): the command's
    // answer, passed through answerOf when given, answers request. A command that has not answered
    // within ReplyTimeout::ms leaves request answered Timeout (while this node lives).
    void sendCommand(const CMPath& command, const KeloHash& args, const CMSetDataRequest& request,
                     const std::function<QVariant(const QVariant&)>& answerOf = {});
    // The request's value as a name: its text when it holds one, else empty.
    static QString valueString(const CMSetDataRequest& request);

    PlayListManager* manager;
    bool playqueueVisible;
    bool collectionsVisible;
};
