#include "KeloPlayList.h"

#include "KeloHash_p.h"

namespace {
const QString kItems = QStringLiteral("items");

int intOf(const QVariant& value, int fallback)
{
    int number = 0;
    return KeloHashPrivate::toWholeInt(value, &number) ? number : fallback;
}

QString textOf(const QVariant& value)
{
    return value.userType() == QMetaType::QString ? *static_cast<const QString*>(value.constData()) : QString();
}
}  // namespace

KeloPlayListItem::KeloPlayListItem(const KeloHash& h)
{
    // One pass over the keys that are there: a hash from a client rarely holds all eleven.
    const QVariantHash& hash = h.hash();
    for (auto it = hash.cbegin(); it != hash.cend(); ++it) {
        const QString& key = it.key();
        const QVariant& v = it.value();
        if (key == QLatin1String("title"))
            setTitle(textOf(v));
        else if (key == QLatin1String("artist"))
            setArtist(textOf(v));
        else if (key == QLatin1String("album"))
            setAlbum(textOf(v));
        else if (key == QLatin1String("url"))
            setUrl(textOf(v));
        else if (key == QLatin1String("keloRoles"))
            setKeloRoles(textOf(v));
        else if (key == QLatin1String("durationSeconds"))
            setDurationSeconds(intOf(v, 0));
        else if (key == QLatin1String("serviceId"))
            setServiceId(textOf(v));
        else if (key == QLatin1String("uid"))
            setUid(intOf(v, -1));
        else if (key == QLatin1String("sequenceNumber"))
            setSequenceNumber(intOf(v, -1));
        else if (key == QLatin1String("artworkUrl"))
            setArtworkUrl(textOf(v));
        else if (key == QLatin1String("genre"))
            setGenre(textOf(v));
    }
}

QVariantHash KeloPlayListItem::hash() const
{
    QVariantHash hash;
    hash.reserve(11);
    if (has(SequenceNumber))
        hash.insert(QStringLiteral("sequenceNumber"), m_sequenceNumber);
    if (has(Uid))
        hash.insert(QStringLiteral("uid"), m_uid);
    if (has(Title))
        hash.insert(QStringLiteral("title"), m_title);
    if (has(Artist))
        hash.insert(QStringLiteral("artist"), m_artist);
    if (has(Album))
        hash.insert(QStringLiteral("album"), m_album);
    if (has(ArtworkUrl))
        hash.insert(QStringLiteral("artworkUrl"), m_artworkUrl);
    if (has(Genre))
        hash.insert(QStringLiteral("genre"), m_genre);
    if (has(DurationSeconds))
        hash.insert(QStringLiteral("durationSeconds"), m_durationSeconds);
    if (has(Url))
        hash.insert(QStringLiteral("url"), m_url);
    if (has(ServiceId))
        hash.insert(QStringLiteral("serviceId"), m_serviceId);
    if (has(KeloRoles))
        hash.insert(QStringLiteral("keloRoles"), m_keloRoles);
    return hash;
}

bool KeloPlayListItem::operator==(const KeloPlayListItem& other) const
{
    return m_set == other.m_set && m_sequenceNumber == other.m_sequenceNumber && m_uid == other.m_uid &&
           m_durationSeconds == other.m_durationSeconds && m_title == other.m_title && m_artist == other.m_artist &&
           m_album == other.m_album && m_artworkUrl == other.m_artworkUrl && m_genre == other.m_genre &&
           m_url == other.m_url && m_serviceId == other.m_serviceId && m_keloRoles == other.m_keloRoles;
}

QList<int> KeloPlayListArgs::intList(const QString& key) const
{
    QList<int> result;
    for (const QVariant& v : listOf(key)) {
        int number = 0;
        if (KeloHashPrivate::toWholeInt(v, &number))
            result.append(number);
    }
    return result;
}

void KeloPlayListPlRemoveItems::setItems(const QList<int>& v)
{
    QVariantList list;
    list.reserve(v.size());
    for (int i : v)
        list.append(i);
    set(kItems, list);
}

QList<KeloPlayListItem> KeloPlayListPlAddExternalItems::items() const
{
    return KeloHashPrivate::recordsOf<KeloPlayListItem>(listOf(kItems));
}

void KeloPlayListPlAddExternalItems::setItems(const QList<KeloPlayListItem>& items)
{
    set(kItems, KeloHashPrivate::variantsOf(items));
}
