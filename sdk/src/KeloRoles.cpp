#include "KeloRoles.h"

#include "KeloHash_p.h"
#include "KeloJsonReader_p.h"

namespace {

const QString kResources = QStringLiteral("resources");
const QString kEvents = QStringLiteral("events");

using KeloHashPrivate::recordsOf;
using KeloHashPrivate::variantsOf;
using KeloJsonPrivate::Reader;

// Reads a text member into *out; any other value leaves it empty, as stringOr() does.
bool textMember(Reader& reader, int depth, QString* out)
{
    QVariant v;
    if (!reader.value(&v, depth))
        return false;
    if (v.userType() == QMetaType::QString)
        *out = v.toString();
    return true;
}

bool readResources(Reader& reader, int depth, QString* firstUri)
{
    if (!reader.opens('['))
        return reader.value(nullptr, depth);
    bool found = false;
    return reader.array(depth + 1, [&]() {
        // Only the first element that is an object counts, as resources() leaves the others out.
        if (found || !reader.opens('{'))
            return reader.value(nullptr, depth + 1);
        found = true;
        return reader.namedMembers(depth + 1, {"uri"}, [&](int) { return textMember(reader, depth + 2, firstUri); });
    });
}

}  // namespace

bool KeloRoles::readTrackFacts(const QByteArray& utf8, KeloTrackFacts* out)
{
    *out = KeloTrackFacts();
    Reader reader(utf8);
    reader.skipSpace();
    if (!reader.opens('{'))
        return false;
    const auto metaData = [&](int) {
        return reader.namedMembers(2, {"prePlayPath"}, [&](int) { return textMember(reader, 3, &out->prePlayPath); });
    };
    const auto mediaData = [&](int) {
        return reader.namedMembers(1, {"resources", "metaData"}, [&](int index) {
            return index == 0 ? readResources(reader, 2, &out->firstResourceUri) : metaData(index);
        });
    };
    const bool read = reader.namedMembers(0, {"type", "title", "mediaData"}, [&](int index) {
        if (index == 1)
            return textMember(reader, 1, &out->title);
        if (index == 2)
            return mediaData(index);
        QVariant type;
        if (!reader.value(&type, 1))
            return false;
        if (!KeloHashPrivate::toWholeInt(type, &out->type))
            out->type = 0;
        return true;
    });
    return read && reader.atEnd();
}

KeloTrackFacts KeloRoles::trackFacts() const
{
    const KeloMediaData media = mediaData();
    const QList<KeloMediaResource> resources = media.resources();
    return {type(), title(), resources.isEmpty() ? QString() : resources.first().uri(),
            media.metaData().prePlayPath().toEncoded()};
}

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
