// POST /api/import: the file is read and every entry resolved before anything is created, so a file
// that is not a playlist leaves no trace. Entries are then added in runs of the same kind (library
// tracks, streams), one command per run, which keeps the file's order.
#include <QUrl>
#include <httplib.h>

#include "KeloJson.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "http/HttpErrors.h"
#include "http/PlaylistFilesApi.h"

namespace {

CMError badRequest(const QString& message)
{
    return CMError(CMError::BadRequestName(), message);
}

struct Run
{
    bool library = true;
    QList<int> trackIds;
    QList<PlaylistFileEntry> streams;
};

bool readFile(const httplib::Request& req, const std::string& body, PlaylistFileContent* content, CMError* error)
{
    if (body.empty()) {
        *error = badRequest(QStringLiteral("The request body is empty; it must be a playlist file."));
        return false;
    }
    const QByteArray data = QByteArray::fromStdString(body);
    PlaylistFile::Format format = PlaylistFile::detect(data);
    if (req.has_param("format")) {
        format = PlaylistFile::formatNamed(QString::fromStdString(req.get_param_value("format")));
        if (format == PlaylistFile::Format::Unknown) {
            *error = badRequest(QStringLiteral("\"format\" must be m3u8, pls or xspf."));
            return false;
        }
    }
    QString message;
    if (!PlaylistFile::read(format, data, content, &message)) {
        *error = badRequest(message);
        return false;
    }
    return true;
}

QString streamTitle(const PlaylistFileEntry& entry)
{
    if (!entry.title.isEmpty())
        return entry.title;
    const QString fileName = QUrl(entry.location).fileName();
    return fileName.isEmpty() ? entry.location : fileName;
}

KeloPlayListItem streamItem(const PlaylistFileEntry& entry)
{
    KeloMediaResource resource;
    resource.setUri(entry.location);
    KeloMediaData mediaData;
    mediaData.setResources({resource});
    mediaData.setMetaData(KeloMetaData());
    KeloRoles roles;
    roles.setTitle(streamTitle(entry));
    roles.setArtist(entry.artist);
    roles.setAlbum(entry.album);
    roles.setDuration(qMax(entry.durationSeconds, 0));
    roles.setType(KeloRolesType::Audio);
    roles.setMediaData(mediaData);
    KeloPlayListItem item;
    item.setTitle(roles.title());
    item.setArtist(entry.artist);
    item.setAlbum(entry.album);
    item.setDurationSeconds(qMax(entry.durationSeconds, 0));
    item.setUrl(entry.location);
    item.setServiceId(QStringLiteral("web"));
    item.setKeloRoles(KeloJson::stringify(roles.toVariant()));
    return item;
}

QList<Run> planRuns(const QList<PlaylistFileEntry>& entries, const LibraryLocations& library, QVariantList* missing)
{
    QList<Run> runs;
    for (const PlaylistFileEntry& entry : entries) {
        const LibraryLocations::Resolved resolved = library.resolve(entry.location);
        if (resolved.kind == LibraryLocations::Kind::Missing) {
            const QString named = entry.location.isEmpty() ? PlaylistFile::displayTitle(entry) : entry.location;
            missing->append(QVariantHash{{QStringLiteral("line"), entry.line}, {QStringLiteral("entry"), named}});
            continue;
        }
        const bool isLibrary = resolved.kind == LibraryLocations::Kind::Library;
        if (runs.isEmpty() || runs.last().library != isLibrary) {
            runs.append(Run());
            runs.last().library = isLibrary;
        }
        if (isLibrary) {
            runs.last().trackIds.append(resolved.trackId);
        } else {
            PlaylistFileEntry stream = entry;
            stream.location = resolved.url;
            runs.last().streams.append(stream);
        }
    }
    return runs;
}

}  // namespace

bool PlaylistFilesApi::addLibraryTracks(int plid, const QList<int>& trackIds, CMError* error) const
{
    QVariantList paths;
    for (int id : trackIds)
        paths.append(QStringLiteral("media:track/%1").arg(id));
    QVariant answer;
    return setData(QStringLiteral("playlists:pl/additems"),
                   QVariantHash{{QStringLiteral("plid"), plid}, {QStringLiteral("items"), paths}, {QStringLiteral("mode"), QStringLiteral("append")}},
                   &answer, error);
}

bool PlaylistFilesApi::addStreams(int plid, const QList<PlaylistFileEntry>& entries, CMError* error) const
{
    QVariantList items;
    for (const PlaylistFileEntry& entry : entries)
        items.append(streamItem(entry).toVariant());
    QVariant answer;
    return setData(QStringLiteral("playlists:pl/addexternalitems"),
                   QVariantHash{{QStringLiteral("plid"), plid}, {QStringLiteral("items"), items}, {QStringLiteral("mode"), QStringLiteral("append")}},
                   &answer, error);
}

bool PlaylistFilesApi::rowsCount(int plid, int* count, CMError* error) const
{
    QVariantHash page;
    if (!getRows(trackListPath(plid), 0, 0, &page, error))
        return false;
    *count = page.value(QStringLiteral("rowsCount")).toInt();
    return true;
}

void PlaylistFilesApi::importFile(const httplib::Request& req, const std::string& body, httplib::Response& res) const
{
    const QString name = QString::fromStdString(req.get_param_value("name")).trimmed();
    if (name.isEmpty())
        return HttpErrors::answer(res, badRequest(QStringLiteral("\"name\" must name the new playlist.")));
    CMError error;
    PlaylistFileContent content;
    if (!readFile(req, body, &content, &error))
        return HttpErrors::answer(res, error);
    QVariantList missing;
    const QList<Run> runs = planRuns(content.entries, m_library, &missing);

    QVariant created;
    if (!setData(QStringLiteral("playlists:pl/create"), QVariantHash{{QStringLiteral("name"), name}}, &created, &error))
        return HttpErrors::answer(res, error);
    const QVariantHash result = created.toHash().value(QStringLiteral("result")).toHash().value(QStringLiteral("value")).toHash();
    const int plid = result.value(QStringLiteral("i32_"), -1).toInt();
    QVariantHash answer{{QStringLiteral("plid"), plid}, {QStringLiteral("missing"), missing}};
    for (const Run& run : runs) {
        const bool added = run.library ? addLibraryTracks(plid, run.trackIds, &error) : addStreams(plid, run.streams, &error);
        // A refused add (a full store) ends the import; what is in the playlist by then stays there.
        if (!added) {
            answer.insert(QStringLiteral("stopped"), error.Message());
            break;
        }
    }
    int count = 0;
    if (!rowsCount(plid, &count, &error))
        return HttpErrors::answer(res, error);
    answer.insert(QStringLiteral("added"), count);
    HttpErrors::answerJson(res, answer);
}
