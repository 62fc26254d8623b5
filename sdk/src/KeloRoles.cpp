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

// Reads the object at the reader's position, handing each of the keys named in `wanted` to read(index)
// once and skipping every other member; a repeated wanted key declines. A value that is not an object
// is skipped, as hashOf() gives an empty hash for it.
template <typename Read>
bool wantedMembers(Reader& reader, int depth, std::initializer_list<const char*> wanted, Read read)
{
    if (!reader.opens('{'))
        return reader.value(nullptr, depth);
    unsigned seen = 0;
    return reader.object(depth + 1, [&](const Reader::Text& key) {
        int index = 0;
        for (const char* name : wanted) {
            if (key.is(QLatin1String(name))) {
                if (seen & (1u << index))
                    return false;
                seen |= 1u << index;
                return read(index);
            }
            ++index;
        }
        return reader.value(nullptr, depth + 1);
    });
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
        return wantedMembers(reader, depth + 1, {"uri"}, [&](int) { return textMember(reader, depth + 2, firstUri); });
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
        return wantedMembers(reader, 2, {"prePlayPath"}, [&](int) { return textMember(reader, 3, &out->prePlayPath); });
    };
    const auto mediaData = [&](int) {
        return wantedMembers(reader, 1, {"resources", "metaData"}, [&](int index) {
            return index == 0 ? readResources(reader, 2, &out->firstResourceUri) : metaData(index);
        });
    };
    const bool read = wantedMembers(reader, 0, {"type", "title", "mediaData"}, [&](int index) {
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
