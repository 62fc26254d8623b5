#pragma once
// The node registry of a worker: path (without query) -> node. Not owning. Worker thread only.
#include <QHash>
#include <QObject>

#include "CMPath.h"

class CMNode;

class CMNodes : public QObject
{
    Q_OBJECT
public:
    explicit CMNodes(QObject* parent = nullptr);
    void registerNode(CMNode* node);    // at node->path().base(); replaces (and logs) a node already there
    void unregisterNode(CMNode* node);  // only if node is the one registered at its path
    CMNode* find(const CMPath& path) const;  // by path().base(); null when none
    int count() const { return m_nodes.size(); }

private:
    QHash<QString, CMNode*> m_nodes;
};
