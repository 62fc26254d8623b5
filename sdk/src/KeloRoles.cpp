#include "KeloRoles.h"

#include "KeloHash_p.h"

namespace {

const QString kResources = QStringLiteral("resources");
const QString kEvents = QStringLiteral("events");

using KeloHashPrivate::recordsOf;
using KeloHashPrivate::variantsOf;

}  // namespace

QList<KeloMediaResource> KeloMediaData::resources() const
{
    return recordsOf<KeloMediaResource>(listOf(kResources));
}

void KeloMediaData::setResources(const QList<KeloMediaResource>& resources)
{
    set(kResources, variantsOf(resources));
}

void KeloRowsRoles::setRoles(const KeloRoles& r)
{
    set(QStringLiteral("roles"), r.toVariant());
    // Roles without a title leave a title set before in place.
    if (r.contains(KeloRoles::Title()))
        setTitle(r.title());
}

QList<KeloEvent> KeloActionReply::events() const
{
    return recordsOf<KeloEvent>(listOf(kEvents));
}

void KeloActionReply::setEvents(const QList<KeloEvent>& events)
{
    if (events.isEmpty())
        remove(kEvents);
    else
        set(kEvents, variantsOf(events));
}

void KeloActionReply::appendEvent(const KeloEvent& e)
{
    QVariantList list = listOf(kEvents);
    list.append(e.toVariant());
    set(kEvents, list);
}
