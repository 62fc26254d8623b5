#pragma once
// The playlist records of the SDK: one playlist entry (KeloPlayListItem) and the argument records of
// the playlist and collection commands. Keys as in the host contract. Accessors never fail: a missing
// key or a value of the wrong type gives the fallback named beside it (ids: -1, texts: empty,
// lists: empty, modes: KeloEnum::Invalid for a text that names no mode).
#include <QList>
#include <QStringList>

#include "KeloEnums.h"
#include "KeloHash.h"

// One playlist entry: a plain value holding the eleven columns the store keeps, with no hash behind
// it. It takes the contract's JSON object form ({"sequenceNumber", "uid", "title", ...}) only at an
// edge that needs it: hash()/toVariant() write the fields that were set (read from a hash, or given
// to a setter), and the constructor from a hash reads them with the usual fallbacks (numbers -1,
// durationSeconds 0, texts empty; a value of the wrong type counts as set, with its fallback). An
// item without a uid stands for "no such entry". Copy freely, any thread.
class KeloPlayListItem
{
public:
    KeloPlayListItem() = default;
    KeloPlayListItem(const KeloHash& h);  // NOLINT: implicit, as every record reads a hash
    bool isValid() const { return has(Uid); }

    int sequenceNumber() const { return m_sequenceNumber; }
    void setSequenceNumber(int v) { m_sequenceNumber = v; m_set |= SequenceNumber; }
    int uid() const { return m_uid; }
    void setUid(int v) { m_uid = v; m_set |= Uid; }
    const QString& title() const { return m_title; }
    void setTitle(const QString& v) { m_title = v; m_set |= Title; }
    const QString& artist() const { return m_artist; }
    void setArtist(const QString& v) { m_artist = v; m_set |= Artist; }
    const QString& album() const { return m_album; }
    void setAlbum(const QString& v) { m_album = v; m_set |= Album; }
    const QString& artworkUrl() const { return m_artworkUrl; }
    void setArtworkUrl(const QString& v) { m_artworkUrl = v; m_set |= ArtworkUrl; }
    const QString& genre() const { return m_genre; }
    void setGenre(const QString& v) { m_genre = v; m_set |= Genre; }
    int durationSeconds() const { return m_durationSeconds; }
    void setDurationSeconds(int v) { m_durationSeconds = v; m_set |= DurationSeconds; }
    const QString& url() const { return m_url; }
    void setUrl(const QString& v) { m_url = v; m_set |= Url; }
    const QString& serviceId() const { return m_serviceId; }
    void setServiceId(const QString& v) { m_serviceId = v; m_set |= ServiceId; }
    const QString& keloRoles() const { return m_keloRoles; }  // JSON text of the track's roles
    void setKeloRoles(const QString& v) { m_keloRoles = v; m_set |= KeloRoles; }

    // The contract's JSON object form: the keys of the fields that were set.
    QVariantHash hash() const;
    QVariant toVariant() const { return hash(); }

    bool operator==(const KeloPlayListItem& other) const;
    bool operator!=(const KeloPlayListItem& other) const { return !(*this == other); }

private:
    enum Field : unsigned {
        SequenceNumber = 1u << 0,
        Uid = 1u << 1,
        Title = 1u << 2,
        Artist = 1u << 3,
        Album = 1u << 4,
        ArtworkUrl = 1u << 5,
        Genre = 1u << 6,
        DurationSeconds = 1u << 7,
        Url = 1u << 8,
        ServiceId = 1u << 9,
        KeloRoles = 1u << 10,
    };
    bool has(Field f) const { return (m_set & f) != 0; }

    unsigned m_set = 0;
    int m_sequenceNumber = -1;
    int m_uid = -1;
    int m_durationSeconds = 0;
    QString m_title;
    QString m_artist;
    QString m_album;
    QString m_artworkUrl;
    QString m_genre;
    QString m_url;
    QString m_serviceId;
    QString m_keloRoles;
};

// Base of the argument records: the accessors shared by several of them.
class KeloPlayListArgs : public KeloHash
{
public:
    KeloPlayListArgs() = default;
    KeloPlayListArgs(const KeloHash& h) : KeloHash(h) {}  // NOLINT
    static QString modeKey() { return QStringLiteral("mode"); }

protected:
    QList<int> intList(const QString& key) const;  // elements that are not whole numbers are left out
};

class KeloPlayListPlCreate : public KeloPlayListArgs
{
public:
    using KeloPlayListArgs::KeloPlayListArgs;
    QString name() const { return stringOr(QStringLiteral("name")); }
    void setName(const QString& v) { set(QStringLiteral("name"), v); }
};

class KeloPlayListPlId : public KeloPlayListArgs
{
public:
    using KeloPlayListArgs::KeloPlayListArgs;
    int plid() const { return intOr(QStringLiteral("plid"), -1); }
    void setPlid(int v) { set(QStringLiteral("plid"), v); }
};

class KeloPlayListPlSetName : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    QString name() const { return stringOr(QStringLiteral("name")); }
    void setName(const QString& v) { set(QStringLiteral("name"), v); }
};

class KeloPlayListPlSetShuffle : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    int mode() const { return KeloPlayListPlShuffleMode::fromVariant(get(modeKey())); }
    void setMode(int v) { set(modeKey(), KeloPlayListPlShuffleMode::toString(v)); }
};

class KeloPlayListPlSetRepeat : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    int mode() const { return KeloPlayListPlRepeatMode::fromVariant(get(modeKey())); }
    void setMode(int v) { set(modeKey(), KeloPlayListPlRepeatMode::toString(v)); }
};

class KeloPlayListPlRemoveItems : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    QList<int> items() const { return intList(QStringLiteral("items")); }
    void setItems(const QList<int>& v);
};

class KeloPlayListPlMoveItems : public KeloPlayListPlRemoveItems
{
public:
    using KeloPlayListPlRemoveItems::KeloPlayListPlRemoveItems;
    int to() const { return intOr(QStringLiteral("to"), -1); }
    void setTo(int v) { set(QStringLiteral("to"), v); }
};

// {"plid", "items": ["media:track/12", ...], "mode", "fromPlid"}
class KeloPlayListPlAddItems : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    QVariantList items() const { return listOf(QStringLiteral("items")); }  // each read with CMPath::fromQVariant
    void setItems(const QStringList& paths) { set(QStringLiteral("items"), paths); }
    bool hasMode() const { return contains(modeKey()); }
    int mode() const { return KeloPlayListAddPosition::fromVariant(get(modeKey())); }
    void setMode(int v) { set(modeKey(), KeloPlayListAddPosition::toString(v)); }
    int fromPlid() const { return intOr(QStringLiteral("fromPlid"), -1); }
    void setFromPlid(int v) { set(QStringLiteral("fromPlid"), v); }
};

// {"plid", "items": [<KeloPlayListItem>...], "mode"}
class KeloPlayListPlAddExternalItems : public KeloPlayListPlId
{
public:
    using KeloPlayListPlId::KeloPlayListPlId;
    QList<KeloPlayListItem> items() const;  // elements that are not objects are left out
    void setItems(const QList<KeloPlayListItem>& items);
    bool hasMode() const { return contains(modeKey()); }
    int mode() const { return KeloPlayListAddPosition::fromVariant(get(modeKey())); }
    void setMode(int v) { set(modeKey(), KeloPlayListAddPosition::toString(v)); }
};

class KeloPlayListClCreate : public KeloPlayListArgs
{
public:
    using KeloPlayListArgs::KeloPlayListArgs;
    QString name() const { return stringOr(QStringLiteral("name")); }
    void setName(const QString& v) { set(QStringLiteral("name"), v); }
};

class KeloPlayListClId : public KeloPlayListArgs
{
public:
    using KeloPlayListArgs::KeloPlayListArgs;
    int clid() const { return intOr(QStringLiteral("clid"), -1); }
    void setClid(int v) { set(QStringLiteral("clid"), v); }
};

class KeloPlayListClSetName : public KeloPlayListClId
{
public:
    using KeloPlayListClId::KeloPlayListClId;
    QString name() const { return stringOr(QStringLiteral("name")); }
    void setName(const QString& v) { set(QStringLiteral("name"), v); }
};

class KeloPlayListClAddRemoveItem : public KeloPlayListClId
{
public:
    using KeloPlayListClId::KeloPlayListClId;
    int plid() const { return intOr(QStringLiteral("plid"), -1); }
    void setPlid(int v) { set(QStringLiteral("plid"), v); }
};

Q_DECLARE_METATYPE(KeloPlayListItem)
