#pragma once
// A group of invoke requests whose answers are wanted together. finished() is emitted once, from the
// event loop of the group's thread after the current call returned (never inside addInvoke), when
// every reply of getReplyList() has finished; a group without invokes never emits. Use it in one
// thread, which runs an event loop.
#include <QList>
#include <QObject>

#include "CMPath.h"
#include "CMReply.h"

class CMRequestGroup : public QObject
{
    Q_OBJECT
public:
    explicit CMRequestGroup(QObject* parent = nullptr);

    // Sends a set-data request with args to "<prefix of path>:<name>" through the root (answered
    // NotFound when there is no root).
    void addInvoke(const QString& name, const CMPath& path, const QVariant& args);
    QList<CMVoidReply> getReplyList() const { return m_replies; }

public slots:
    // Emits finished() if every reply has finished and it was not emitted yet.
    void checkAndCallCallback();

signals:
    void finished();

private:
    QList<CMVoidReply> m_replies;
    bool m_finishedSent = false;
};
