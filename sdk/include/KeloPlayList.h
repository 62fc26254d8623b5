#pragma once
// The playlist records of the SDK: one playlist entry (KeloPlayListItem) and the argument records of
// the playlist and collection commands. Keys as in docs/api.md. Accessors never fail: a missing
// key or a value of the wrong type gives the fallback named beside it (ids: -1, texts: empty,
// lists: empty, modes: KeloEnum::Invalid for a text that names no mode).
#include <QList>
#include <QStringList>

#include "KeloEnums.h"
#include "KeloHash.h"

// One playlist entry. An empty item (no "uid" key) stands for "no such entry".
class KeloPlayListItem : public KeloHash
{
public:
    KeloPlayListItem() = default;
    KeloPlayListItem(const KeloHash& h) : KeloHash(h) {}  // NOLINT
    bool isValid() const { return contains(QStringLiteral("uid")); }

    int sequenceNumber() const { return intOr(QStringLiteral("sequenceNumber"), -1); }
    void setSequenceNumber(int v) { set(QStringLiteral("sequenceNumber"), v); }
    int uid() const { return intOr(QStringLiteral("uid"), -1); }
    void setUid(int v) { set(QStringLiteral("uid"), v); }
    QString title() const { return stringOr(QStringLiteral("title")); }
    void setTitle(const QString& v) { set(QStringLiteral("title"), v); }
    QString artist() const { return stringOr(QStringLiteral("artist")); }
    void setArtist(const QString& v) { set(QStringLiteral("artist"), v); }
    QString album() const { return stringOr(QStringLiteral("album")); }
    void setAlbum(const QString& v) { set(QStringLiteral("album"), v); }
    QString artworkUrl() const { return stringOr(QStringLiteral("artworkUrl")); }
    void setArtworkUrl(const QString& v) { set(QStringLiteral("artworkUrl"), v); }
    QString genre() const { return stringOr(QStringLiteral("genre")); }
    void setGenre(const QString& v) { set(QStringLiteral("genre"), v); }
    int durationSeconds() const { return intOr(QStringLiteral("durationSeconds"), 0); }
    void setDurationSeconds(int v) { set(QStringLiteral("durationSeconds"), v); }
    QString url() const { return stringOr(QStringLiteral("url")); }
    void setUrl(const QString& v) { set(QStringLiteral("url"), v); }
    QString serviceId() const { return stringOr(QStringLiteral("serviceId")); }
    void setServiceId(const QString& v) { set(QStringLiteral("serviceId"), v); }
    QString keloRoles() const { return stringOr(QStringLiteral("keloRoles")); }  // JSON text of the track's roles
    void setKeloRoles(const QString& v) { set(QStringLiteral("keloRoles"), v); }
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
