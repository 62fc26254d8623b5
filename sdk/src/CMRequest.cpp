#include "CMRequest.h"

#include <variant>

#include "KeloJson.h"
#include "KeloLog.h"

// Shared by every copy of a request. Everything is set at construction and never changed, so copies
// may be read from any thread without a lock.
struct CMRequest::State
{
    using Reply = std::variant<CMVoidReply, CMReply<KeloRowsRoles>, CMReply<QVariant>>;

    template <class R>
    State(const CMPath& p, const QStringList& roles, const R& r) : path(p), roleNames(roles), reply(std::in_place_type<R>, r)
    {
        r.data()->holdRequest();
    }
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    const CMReplyBase& replyBase() const
    {
        return std::visit([](const auto& r) -> const CMReplyBase& { return r; }, reply);
    }

    CMPath path;
    QStringList roleNames;
    QVariant value;
    int fromRow = 0;
    int toRow = 0;
    Reply reply;
};

// A handler that keeps no copy and never answered has dropped the request: its client must not wait
// forever, so the last copy of the last request that shares the reply answers for it.
CMRequest::State::~State()
{
    const CMReplyBase& r = replyBase();
    if (!r.data()->releaseRequest() || r.isFinished())
        return;
    KELO_LOG_DEBUG(KeloLog::FrameworkLogger, "request on " << path.toEncoded() << " dropped without an answer");
    r.setError(CMError(CMError::NoAnswerName(), KELO_TR("The request on %1 was dropped without an answer.").arg(path.toEncoded())));
}

CMPath CMRequest::path() const
{
    return d ? d->path : CMPath();
}

QStringList CMRequest::roleNames() const
{
    return d ? d->roleNames : QStringList();
}

CMSetDataRequest::CMSetDataRequest(const CMPath& path, const QVariant& value, const CMVoidReply& reply)
{
    d = QSharedPointer<State>::create(path, QStringList(), reply);
    d->value = value;
}

QVariant CMSetDataRequest::value() const
{
    if (!d)
        return QVariant();
    if (d->value.userType() == qMetaTypeId<KeloJsonText>())
        return KeloJson::parse(static_cast<const KeloJsonText*>(d->value.constData())->utf8);
    return d->value;
}

QByteArray CMSetDataRequest::valueText() const
{
    if (!d || d->value.userType() != qMetaTypeId<KeloJsonText>())
        return QByteArray();
    return static_cast<const KeloJsonText*>(d->value.constData())->utf8;
}

CMVoidReply CMSetDataRequest::reply() const
{
    return d ? std::get<CMVoidReply>(d->reply) : CMVoidReply();
}

CMGetRowsRequest::CMGetRowsRequest(const CMPath& path, int fromRow, int toRow, const QStringList& roleNames,
                                   const CMReply<KeloRowsRoles>& reply)
{
    d = QSharedPointer<State>::create(path, roleNames, reply);
    d->fromRow = fromRow;
    d->toRow = toRow;
}

int CMGetRowsRequest::fromRow() const
{
    return d ? d->fromRow : 0;
}

int CMGetRowsRequest::toRow() const
{
    return d ? d->toRow : 0;
}

CMReply<KeloRowsRoles> CMGetRowsRequest::reply() const
{
    return d ? std::get<CMReply<KeloRowsRoles>>(d->reply) : CMReply<KeloRowsRoles>();
}

CMGetDataRequest::CMGetDataRequest(const CMPath& path, const QStringList& roleNames, const CMReply<QVariant>& reply)
{
    d = QSharedPointer<State>::create(path, roleNames, reply);
}

CMReply<QVariant> CMGetDataRequest::reply() const
{
    return d ? std::get<CMReply<QVariant>>(d->reply) : CMReply<QVariant>();
}
