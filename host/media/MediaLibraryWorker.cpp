#include "media/MediaLibraryWorker.h"

#include <QUrl>

#include "CMGlobal.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "HostLog.h"

namespace {

CMPath albumPath(int id)
{
    return CMPath(QStringLiteral("media:album/")) + id;
}

CMPath trackPath(int id)
{
    return CMPath(QStringLiteral("media:track/")) + id;
}

// Rows with a picture carry "icon", the address the host serves it at.
void setIcon(KeloRoles* roles, const Catalogue& catalogue)
{
    const QString path = roles->path().toEncoded();
    if (catalogue.hasPicture(path))
        roles->set(QStringLiteral("icon"),
                   QStringLiteral("/api/art?path=") + QString::fromLatin1(QUrl::toPercentEncoding(path)));
}

}  // namespace

MediaLibraryWorker::MediaLibraryWorker(const Catalogue& catalogue, QObject* parent)
    : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Media"), parent), m_catalogue(catalogue)
{
}

QPair<int, int> MediaLibraryWorker::clampRange(int fromRow, int toRow, int total)
{
    return {qMax(fromRow, 0), qMin(toRow, total - 1)};
}

MediaLibraryWorker::Node MediaLibraryWorker::resolve(const CMPath& path, int* id) const
{
    if (path.prefix() != QLatin1String("media"))
        return Node::None;
    if (path.subPath().isEmpty())
        return Node::Root;
    if (path.subPath() == KeloPlayListPrepareItems())
        return Node::PrepareItems;
    const QStringList segments = path.splitBase();
    bool ok = false;
    *id = segments.size() == 2 ? segments.at(1).toInt(&ok) : -1;
    if (ok && segments.at(0) == QLatin1String("album") && m_catalogue.album(*id))
        return Node::Album;
    if (ok && segments.at(0) == QLatin1String("track") && m_catalogue.track(*id))
        return Node::Track;
    return Node::None;
}

KeloRoles MediaLibraryWorker::rootRoles() const
{
    KeloRoles roles;
    roles.setTitle(KELO_TR("Media library"));
    roles.setType(KeloRolesType::Container);
    roles.setPath(CMPath(QStringLiteral("media:")));
    return roles;
}

KeloRoles MediaLibraryWorker::albumRoles(const CatalogueAlbum& album) const
{
    KeloRoles roles;
    roles.setTitle(album.title);
    roles.setArtist(album.artist);
    roles.setType(KeloRolesType::Container);
    roles.setContainerPlayable(true);
    roles.setPath(albumPath(album.id));
    roles.setId(QString::number(album.id));
    setIcon(&roles, m_catalogue);
    return roles;
}

KeloRoles MediaLibraryWorker::trackRoles(const CatalogueTrack& track) const
{
    KeloMediaResource resource;
    resource.setUri(track.uri);
    resource.setMimeType(track.mimeType);
    KeloMediaData mediaData;
    mediaData.setResources({resource});
    mediaData.setMetaData(KeloMetaData());
    KeloRoles roles;
    roles.setTitle(track.title);
    roles.setArtist(track.artist);
    roles.setAlbum(track.album);
    roles.setDuration(track.duration);
    roles.setType(KeloRolesType::Audio);
    roles.setPath(trackPath(track.id));
    roles.setId(QString::number(track.id));
    roles.setMediaData(mediaData);
    setIcon(&roles, m_catalogue);
    return roles;
}

KeloPlayListItem MediaLibraryWorker::playListItem(const CatalogueTrack& track) const
{
    KeloPlayListItem item;
    item.setTitle(track.title);
    item.setArtist(track.artist);
    item.setAlbum(track.album);
    item.setDurationSeconds(track.duration);
    item.setUrl(track.uri);
    item.setServiceId(QStringLiteral("media"));
    item.setKeloRoles(KeloJson::stringify(trackRoles(track).toVariant()));
    return item;
}

QList<KeloRoles> MediaLibraryWorker::childRows(Node node, int id) const
{
    QList<KeloRoles> rows;
    if (node == Node::Root) {
        for (int album = 1; album <= m_catalogue.albumCount(); ++album)
            rows.append(albumRoles(*m_catalogue.album(album)));
    } else if (node == Node::Album) {
        for (int track : m_catalogue.album(id)->trackIds)
            rows.append(trackRoles(*m_catalogue.track(track)));
    }
    return rows;
}

bool MediaLibraryWorker::answerRows(const CMGetRowsRequest& request, const KeloRoles& container,
                                    const QList<KeloRoles>& rows) const
{
    const QPair<int, int> range = clampRange(request.fromRow(), request.toRow(), rows.size());
    QVariantList page;
    for (int row = range.first; row <= range.second; ++row)
        page.append(CMGlobal::itemRolesToList(rows.at(row), request.roleNames()));
    KeloRowsRoles answer;
    answer.setRoles(container);
    answer.setRowsCount(rows.size());
    answer.setRows(page);
    request.reply().setValue(answer);
    return true;
}

bool MediaLibraryWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    int id = -1;
    const Node node = resolve(request.path(), &id);
    if (node == Node::Root)
        return answerRows(request, rootRoles(), childRows(node, id));
    if (node == Node::Album)
        return answerRows(request, albumRoles(*m_catalogue.album(id)), childRows(node, id));
    return false;
}

bool MediaLibraryWorker::getDataRequest(const CMGetDataRequest& request)
{
    int id = -1;
    KeloRoles roles;
    switch (resolve(request.path(), &id)) {
    case Node::Root: roles = rootRoles(); break;
    case Node::Album: roles = albumRoles(*m_catalogue.album(id)); break;
    case Node::Track: roles = trackRoles(*m_catalogue.track(id)); break;
    default: return false;
    }
    // As browse nodes answer: the roles, or with role names the list of those roles' values.
    QVariantList values;
    for (const QString& name : request.roleNames())
        values.append(roles.get(name));
    request.reply().setValue(request.roleNames().isEmpty() ? roles.toVariant() : QVariant(values));
    return true;
}

bool MediaLibraryWorker::setDataRequest(const CMSetDataRequest& request)
{
    int id = -1;
    if (resolve(request.path(), &id) != Node::PrepareItems)
        return false;
    const QVariant value = request.value();
    if (value.type() != QVariant::List && value.type() != QVariant::StringList) {
        request.reply().setError(CMError(CMError::BadRequestName(), KELO_TR("prepareItems takes a list of paths.")));
        return true;
    }
    const QVariantList items = prepareItems(value.toList());
    KELO_LOG_DEBUG(HostLogger, "prepareItems: " << items.size() << " items");
    request.reply().setValue(items);
    return true;
}

QVariantList MediaLibraryWorker::prepareItems(const QVariantList& paths) const
{
    QVariantList items;
    for (const QVariant& encoded : paths) {
        int id = -1;
        const CMPath path = CMPath::fromQVariant(encoded);
        const Node node = resolve(path, &id);
        if (node == Node::Track) {
            items.append(playListItem(*m_catalogue.track(id)).toVariant());
        } else if (node == Node::Album) {
            for (int track : m_catalogue.album(id)->trackIds)
                items.append(playListItem(*m_catalogue.track(track)).toVariant());
        } else {
            KELO_LOG_WARN(HostLogger, "prepareItems: skipping " << encoded.toString() << ", no track or album there");
        }
    }
    return items;
}
