#pragma once
// Requests: a path, what is asked, and the reply that answers it. Value types; copies share one
// request. When the last copy of a request is destroyed while its reply is still unfinished, the
// reply is finished with the error NoAnswer, so a request that a handler drops never hangs its
// client. A client keeps the reply, not the request. Any thread: a request never changes after it is
// made. An invalid (default-constructed) request has an empty path and hands out a fresh reply that
// nobody waits for.
#include <QSharedPointer>
#include <QStringList>
#include <QVariant>

#include "CMPath.h"
#include "CMReply.h"
#include "KeloRoles.h"

class CMRequest
{
public:
    bool isValid() const { return !d.isNull(); }
    CMPath path() const;
    QStringList roleNames() const;

protected:
    struct State;
    QSharedPointer<State> d;
};

class CMSetDataRequest : public CMRequest
{
public:
    CMSetDataRequest() = default;  // invalid
    // value may be a KeloJsonText: the value as JSON text, decoded only by whoever reads it.
    CMSetDataRequest(const CMPath& path, const QVariant& value, const CMVoidReply& reply = CMVoidReply());
    // The value; one given as JSON text is decoded on each call (call it once).
    QVariant value() const;
    // The value's JSON text when it was given as text, empty otherwise: for a handler that reads
    // the text straight into its own values. The bytes may belong to the request: they stay valid
    // while this request (or a copy of it) lives.
    QByteArray valueText() const;
    CMVoidReply reply() const;
};

class CMGetRowsRequest : public CMRequest
{
public:
    CMGetRowsRequest() = default;
    CMGetRowsRequest(const CMPath& path, int fromRow, int toRow, const QStringList& roleNames = {},
                     const CMReply<KeloRowsRoles>& reply = CMReply<KeloRowsRoles>());
    int fromRow() const;
    int toRow() const;
    CMReply<KeloRowsRoles> reply() const;
};

class CMGetDataRequest : public CMRequest
{
public:
    CMGetDataRequest() = default;
    CMGetDataRequest(const CMPath& path, const QStringList& roleNames = {},
                     const CMReply<QVariant>& reply = CMReply<QVariant>());
    CMReply<QVariant> reply() const;
};

Q_DECLARE_METATYPE(CMSetDataRequest)
Q_DECLARE_METATYPE(CMGetRowsRequest)
Q_DECLARE_METATYPE(CMGetDataRequest)
