#pragma once
// Role maps and the records built on them. JSON keys as in docs/api.md.
#include <QList>
#include <QStringList>

#include "CMPath.h"
#include "KeloValue.h"
#include "Language.h"

// Row types ("type" role) and container types ("containerType" role).
struct KeloRolesType
{
    enum Enum { Container = 1, Audio = 3, Input = 101, Action = 102, Header = 103, Separator = 105 };
};
struct KeloRolesContainerType
{
    enum Enum { None = 0, ContextMenu = 100 };
};

class KeloPermission
{
public:
    static KeloPermission PublicReadWrite() { return KeloPermission(QStringLiteral("publicReadWrite")); }
    static KeloPermission PublicRead() { return KeloPermission(QStringLiteral("publicRead")); }
    static KeloPermission Private() { return KeloPermission(QStringLiteral("private")); }
    QString toString() const { return m_name; }
    QVariant toVariant() const { return m_name; }

private:
    explicit KeloPermission(const QString& name) : m_name(name) {}
    QString m_name;
};

class KeloMediaResource : public KeloHash
{
public:
    KeloMediaResource() = default;
    explicit KeloMediaResource(const KeloHash& h) : KeloHash(h) {}
    QString uri() const { return stringOr(QStringLiteral("uri")); }
    void setUri(const QString& v) { set(QStringLiteral("uri"), v); }
    QString mimeType() const { return stringOr(QStringLiteral("mimeType")); }
    void setMimeType(const QString& v) { set(QStringLiteral("mimeType"), v); }
};

class KeloMetaData : public KeloHash
{
public:
    KeloMetaData() = default;
    explicit KeloMetaData(const KeloHash& h) : KeloHash(h) {}
    CMPath playLogicPath() const { return CMPath(stringOr(QStringLiteral("playLogicPath"))); }
    void setPlayLogicPath(const CMPath& p) { set(QStringLiteral("playLogicPath"), p.toEncoded()); }
    CMPath prePlayPath() const { return CMPath(stringOr(QStringLiteral("prePlayPath"))); }
    void setPrePlayPath(const CMPath& p) { set(QStringLiteral("prePlayPath"), p.toEncoded()); }
    bool hasAllowSeekTime() const { return contains(QStringLiteral("AllowSeekTime")); }
    bool allowSeekTime() const { return boolOr(QStringLiteral("AllowSeekTime"), false); }
    void setAllowSeekTime(bool v) { set(QStringLiteral("AllowSeekTime"), v); }
    bool hasAllowSeekBytes() const { return contains(QStringLiteral("AllowSeekBytes")); }
    bool allowSeekBytes() const { return boolOr(QStringLiteral("AllowSeekBytes"), false); }
    void setAllowSeekBytes(bool v) { set(QStringLiteral("AllowSeekBytes"), v); }
};

class KeloMediaData : public KeloHash
{
public:
    KeloMediaData() = default;
    explicit KeloMediaData(const KeloHash& h) : KeloHash(h) {}
    QList<KeloMediaResource> resources() const;
    void setResources(const QList<KeloMediaResource>& resources);
    KeloMetaData metaData() const { return KeloMetaData(KeloHash(hashOf(QStringLiteral("metaData")))); }
    void setMetaData(const KeloMetaData& m) { set(QStringLiteral("metaData"), m.toVariant()); }
};

// What tells a track's roles apart as playable, as the roles' accessors read it (fallbacks included):
// type(), title(), the uri of mediaData().resources().first(), mediaData().metaData().prePlayPath().
struct KeloTrackFacts
{
    int type = 0;
    QString title;
    QString firstResourceUri;
    QString prePlayPath;
};

class KeloRoles : public KeloHash
{
public:
    KeloRoles() = default;
    KeloRoles(const KeloHash& h) : KeloHash(h) {}  // NOLINT: roles are read from any variant hash

    // Reads the track facts straight from a roles JSON text, decoding nothing else. False when the
    // text is not a JSON object in the common forms or repeats one of those keys: decode it then.
    static bool readTrackFacts(const QByteArray& utf8, KeloTrackFacts* out);
    // The same facts read from these roles.
    KeloTrackFacts trackFacts() const;

    // Role names, as they appear in JSON and in a request's role list.
    static QString Title() { return QStringLiteral("title"); }
    static QString Path() { return QStringLiteral("path"); }
    static QString Type() { return QStringLiteral("type"); }
    static QString ContainerType() { return QStringLiteral("containerType"); }
    static QString ContainerPlayable() { return QStringLiteral("containerPlayable"); }
    static QString Modifiable() { return QStringLiteral("modifiable"); }
    static QString Value() { return QStringLiteral("value"); }
    static QString Context() { return QStringLiteral("context"); }
    static QString MediaData() { return QStringLiteral("mediaData"); }
    static QString Id() { return QStringLiteral("id"); }
    static QString VimboClearQueue() { return QStringLiteral("vimboClearQueue"); }
    static QString Artist() { return QStringLiteral("artist"); }
    static QString Album() { return QStringLiteral("album"); }
    static QString Duration() { return QStringLiteral("duration"); }
    static QString Permission() { return QStringLiteral("permission"); }

    QString title() const { return stringOr(Title()); }
    void setTitle(const TrString& t) { set(Title(), t.toString()); }
    void setTitle(const QString& t) { set(Title(), t); }
    CMPath path() const { return CMPath(stringOr(Path())); }
    void setPath(const CMPath& p) { set(Path(), p.toEncoded()); }
    int type() const { return intOr(Type(), 0); }
    void setType(int t) { set(Type(), t); }
    int containerType() const { return intOr(ContainerType(), 0); }
    void setContainerType(int t) { set(ContainerType(), t); }
    bool containerPlayable() const { return boolOr(ContainerPlayable(), false); }
    void setContainerPlayable(bool v) { set(ContainerPlayable(), v); }
    bool modifiable() const { return boolOr(Modifiable(), false); }
    void setModifiable(bool v) { set(Modifiable(), v); }
    KeloValue value() const { return KeloValue(KeloHash(hashOf(Value()))); }
    void setValue(const KeloValue& v) { set(Value(), v.toVariant()); }
    KeloRoles context() const { return KeloRoles(KeloHash(hashOf(Context()))); }
    void setContext(const KeloRoles& r) { set(Context(), r.toVariant()); }
    KeloMediaData mediaData() const { return KeloMediaData(KeloHash(hashOf(MediaData()))); }
    void setMediaData(const KeloMediaData& m) { set(MediaData(), m.toVariant()); }
    QString id() const { return get(Id()).toString(); }
    void setId(const QString& id) { set(Id(), id); }
    QString vimboClearQueue() const { return stringOr(VimboClearQueue()); }
    void setVimboClearQueue(const QString& v) { set(VimboClearQueue(), v); }
    QString artist() const { return stringOr(Artist()); }
    void setArtist(const QString& v) { set(Artist(), v); }
    QString album() const { return stringOr(Album()); }
    void setAlbum(const QString& v) { set(Album(), v); }
    int duration() const { return intOr(Duration(), 0); }  // seconds
    void setDuration(int seconds) { set(Duration(), seconds); }
};

// The answer of a rows request: {"rowsCount", "title", "roles", "rows"}.
class KeloRowsRoles : public KeloHash
{
public:
    KeloRowsRoles() = default;
    explicit KeloRowsRoles(const KeloHash& h) : KeloHash(h) {}
    int rowsCount() const { return intOr(QStringLiteral("rowsCount"), 0); }
    void setRowsCount(int n) { set(QStringLiteral("rowsCount"), n); }
    QString title() const { return stringOr(QStringLiteral("title")); }
    void setTitle(const QString& t) { set(QStringLiteral("title"), t); }
    KeloRoles roles() const { return KeloRoles(KeloHash(hashOf(QStringLiteral("roles")))); }
    void setRoles(const KeloRoles& r);  // also copies the roles' title into "title"
    QVariantList rows() const { return listOf(QStringLiteral("rows")); }
    void setRows(const QVariantList& rows) { set(QStringLiteral("rows"), rows); }
};

// A row-change notice carried in an action reply: {"rowsType": 1, "path": "..."}.
class KeloEvent : public KeloHash
{
public:
    KeloEvent() = default;
    explicit KeloEvent(const KeloHash& h) : KeloHash(h) {}
    int rowsType() const { return intOr(QStringLiteral("rowsType"), 0); }
    void setRowsType(int t) { set(QStringLiteral("rowsType"), t); }
    CMPath path() const { return CMPath(stringOr(QStringLiteral("path"))); }
    void setPath(const CMPath& p) { set(QStringLiteral("path"), p.toEncoded()); }
};

// A command's answer: {"xclass": "KeloActionReply", "result": {"value": <KeloValue>}, "events": [...]}.
class KeloActionReply : public KeloHash
{
public:
    KeloActionReply() = default;
    explicit KeloActionReply(const KeloHash& h) : KeloHash(h) {}
    QString xclass() const { return stringOr(QStringLiteral("xclass")); }
    void setXclass(const QString& x) { set(QStringLiteral("xclass"), x); }
    KeloRoles result() const { return KeloRoles(KeloHash(hashOf(QStringLiteral("result")))); }
    void setResult(const KeloRoles& r) { set(QStringLiteral("result"), r.toVariant()); }
    QList<KeloEvent> events() const;
    void setEvents(const QList<KeloEvent>& events);  // an empty list removes the "events" key
    void appendEvent(const KeloEvent& e);
};

Q_DECLARE_METATYPE(KeloRoles)
Q_DECLARE_METATYPE(KeloRowsRoles)
