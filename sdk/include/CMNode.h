#pragma once
// Browse nodes. A node is registered in its worker's CMNodes at its path (without query) and gets the
// requests on that path. Nodes live in their worker's thread and are used only from it (construction
// included). A node does not own its CMNodes and forgets one that is destroyed first.
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>

#include "CMPath.h"
#include "CMRequest.h"
#include "KeloRoles.h"
#include "Language.h"

class CMNodes;

class CMNode : public QObject
{
    Q_OBJECT
public:
    explicit CMNode(const CMPath& path, QObject* parent = nullptr);
    ~CMNode() override;  // unregisters itself if still registered

    CMPath path() const { return m_path; }
    // Registers the node in nodes at its path; a node already there is replaced (and logged).
    void setNodes(CMNodes* nodes);
    CMNodes* nodes() const { return m_nodes; }
    // Unregisters at once (the path is free for a new node) and deletes the object later.
    // Hides QObject::deleteLater on purpose: call it through a CMNode pointer.
    void deleteLater();

    // Request handlers, called in the worker's thread. Return false when the request is not
    // taken: the framework then answers it with NotFound unless its reply was finished.
    virtual bool getRowsRequest(const CMGetRowsRequest& request);
    virtual bool setDataRequest(const CMSetDataRequest& request);
    virtual bool getDataRequest(const CMGetDataRequest& request);

private:
    CMPath m_path;
    QPointer<CMNodes> m_nodes;
};

class CMUINode : public CMNode
{
    Q_OBJECT
public:
    explicit CMUINode(const CMPath& path, QObject* parent = nullptr);

    void setTitle(const TrString& title) { m_title = title; }
    TrString title() const { return m_title; }
    void setMediaData(const KeloMediaData& mediaData) { m_mediaData = mediaData; }
    KeloMediaData mediaData() const { return m_mediaData; }
    void setRoles(const KeloRoles& roles) { m_roles = roles; }
    KeloRoles roles() const { return m_roles; }

    // The node's own roles for a request on its path with these parameters: the roles set with
    // setRoles, plus title, path (with the parameters), media data and, for containers, type 1 and
    // the container type; only roleNames when that list is not empty.
    virtual KeloRoles getDataRoles(const QStringList& roleNames, const QList<QPair<QString, QString>>& parameters) const;
    // Answers getDataRoles for the request's roles and parameters: without role names the roles as a
    // hash, with role names a list of the values of those roles in their order (null where unset).
    bool getDataRequest(const CMGetDataRequest& request) override;

private:
    TrString m_title;
    KeloMediaData m_mediaData;
    KeloRoles m_roles;
};

class CMContainerNode : public CMUINode
{
    Q_OBJECT
public:
    explicit CMContainerNode(const CMPath& path, QObject* parent = nullptr);
    void setContainerType(int type) { m_containerType = type; }
    int containerType() const { return m_containerType; }
    KeloRoles getDataRoles(const QStringList& roleNames, const QList<QPair<QString, QString>>& parameters) const override;

private:
    int m_containerType = 0;
};

class CMListRowsNode : public CMContainerNode
{
    Q_OBJECT
public:
    explicit CMListRowsNode(const CMPath& path, QObject* parent = nullptr);
};
