#pragma once
// The playlist records of the SDK: one playlist entry (KeloPlayListItem) and the argument records of
// the playlist and collection commands. Keys as in docs/api.md. Accessors never fail: a missing
// key or a value of the wrong type gives the fallback named beside it (ids: -1, texts: empty,
// lists: empty, modes: KeloEnum::Invalid for a text that names no mode).
#include <functional>
#include <QList>
#include <QStringList>

#include "KeloEnums.h"
#include "KeloHash.h"

// One playlist entry: a plain value holding the eleven columns the store keeps, its texts as the
// UTF-8 bytes the store holds, with no hash behind it. It takes the contract's JSON object form
// ({"sequenceNumber", "uid", "title", ...}) only at an edge that needs it: hash()/toVariant() write
// the fields that were set (read from a hash, or given to a setter), and the constructor from a hash
// reads them with the usual fallbacks (numbers -1, durationSeconds 0, texts empty; a value of the
// wrong type counts as set, with its fallback). An item without a uid stands for "no such entry".
// Copy freely, any thread.
class KeloPlayListItem
{
public:
    // The text fields, for reading and writing them as UTF-8 (utf8(), setUtf8()).
    enum class Text { Title, Artist, Album, ArtworkUrl, Genre, Url, ServiceId, KeloRoles };

    KeloPlayListItem() = default;
    KeloPlayListItem(const KeloHash& h);  // NOLINT: implicit, as every record reads a hash
    bool isValid() const { return has(Uid); }

    int sequenceNumber() const { return m_sequenceNumber; }
    void setSequenceNumber(int v) { m_sequenceNumber = v; m_set |= SequenceNumber; }
    int uid() const { return m_uid; }
    void setUid(int v) { m_uid = v; m_set |= Uid; }
    int durationSeconds() const { return m_durationSeconds; }
    void setDurationSeconds(int v) { m_durationSeconds = v; m_set |= DurationSeconds; }
    QString title() const { return text(Text::Title); }
    void setTitle(const QString& v) { setText(Text::Title, v); }
    QString artist() const { return text(Text::Artist); }
    void setArtist(const QString& v) { setText(Text::Artist, v); }
    QString album() const { return text(Text::Album); }
    void setAlbum(const QString& v) { setText(Text::Album, v); }
    QString artworkUrl() const { return text(Text::ArtworkUrl); }
    void setArtworkUrl(const QString& v) { setText(Text::ArtworkUrl, v); }
    QString genre() const { return text(Text::Genre); }
    void setGenre(const QString& v) { setText(Text::Genre, v); }
    QString url() const { return text(Text::Url); }
    void setUrl(const QString& v) { setText(Text::Url, v); }
    QString serviceId() const { return text(Text::ServiceId); }
    void setServiceId(const QString& v) { setText(Text::ServiceId, v); }
    QString keloRoles() const { return text(Text::KeloRoles); }  // JSON text of the track's roles
    void setKeloRoles(const QString& v) { setText(Text::KeloRoles, v); }

    // A text field as UTF-8, as the store reads and writes it: no conversion on the way.
    const QByteArray& utf8(Text field) const { return m_texts[index(field)]; }
    void setUtf8(Text field, const QByteArray& v);

    // The contract's JSON object form: the keys of the fields that were set.
    QVariantHash hash() const;
    QVariant toVariant() const { return hash(); }

    bool operator==(const KeloPlayListItem& other) const;
    bool operator!=(const KeloPlayListItem& other) const { return !(*this == other); }

private:
    // Bits of m_set: the numbers, then one for each text field in the order of Text.
    enum Field : unsigned { SequenceNumber = 1u << 0, Uid = 1u << 1, DurationSeconds = 1u << 2, FirstText = 1u << 3 };
    static int index(Text field) { return static_cast<int>(field); }
    static unsigned bit(Text field) { return FirstText << index(field); }
    bool has(unsigned bits) const { return (m_set & bits) != 0; }
    QString text(Text field) const { return QString::fromUtf8(m_texts[index(field)]); }
    void setText(Text field, const QString& v) { setUtf8(field, v.toUtf8()); }

    unsigned m_set = 0;
    int m_sequenceNumber = -1;
    int m_uid = -1;
    int m_durationSeconds = 0;
    QByteArray m_texts[8];
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

    // Reads the record from its JSON object text, the items straight into values (no hash for them
    // on the way), reading exactly what the hash would give. False, with the record unchanged, when
    // the text is not in the common JSON forms or an item repeats a key: decode it and read the hash.
    bool readJson(const QByteArray& utf8);
    // Reads the same text as readJson(utf8) does, handing each item to take() as soon as it is read
    // instead of keeping it. head() is called once before the first item, with a record of the
    // members known then: when the members before the items name the playlist ("plid"), those, and
    // the items are read at once; when the items come first and the text ends in plain members
    // (texts without escapes, numbers, words) that name the playlist, the members before the items
    // and those read back from the text's end, and the items are read at once too: a text can
    // mislead that look back, so the caller compares the head with the record once the reading is
    // true; otherwise all members, read first while the items are only checked, and the items after
    // them. take() returning false stops the reading. True when the whole text was read: the record
    // then holds every member but the items (items() is empty). On false the record is unchanged,
    // and the items already taken are to be dropped.
    using Head = std::function<void(const KeloPlayListPlAddExternalItems& head)>;
    using Take = std::function<bool(KeloPlayListItem&& item)>;
    bool readJson(const QByteArray& utf8, const Head& head, const Take& take);

private:
    // The two readings: with playlistFirst, items met before "plid" are only checked at first and
    // read after all other members; otherwise they are read where they stand.
    bool readMembers(const QByteArray& utf8, bool playlistFirst, const Head& head, const Take& take);

    QList<KeloPlayListItem> m_items;  // the items as read from JSON text, when m_itemsRead
    bool m_itemsRead = false;
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
