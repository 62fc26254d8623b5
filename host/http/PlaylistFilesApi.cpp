#include "http/PlaylistFilesApi.h"

#include <QUrl>
#include <httplib.h>

#include "CMRoot.h"
#include "http/HttpApi.h"
#include "http/HttpErrors.h"
#include "http/HttpServer.h"

namespace {

constexpr int RowsPage = 1000;

CMError badRequest(const QString& message)
{
    return CMError(CMError::BadRequestName(), message);
}

// A name that every file system takes: no separators, controls or characters Windows refuses.
QString fileNameFor(const QString& name, const QString& extension)
{
    QString safe;
    for (const QChar c : name) {
        const bool refused = c.unicode() < 0x20 || QStringLiteral("/\\:*?\"<>|").contains(c);
        safe += refused ? QLatin1Char('_') : c;
    }
    safe = safe.trimmed();
    if (safe.isEmpty() || safe.startsWith(QLatin1Char('.')))
        safe.prepend(QStringLiteral("playlist"));
    return safe + QLatin1Char('.') + extension;
}

// Both forms, so that old clients get an ASCII name and current ones the exact one (RFC 6266).
std::string contentDisposition(const QString& fileName)
{
    QString ascii;
    for (const QChar c : fileName)
        ascii += c.unicode() < 0x7f && c != QLatin1Char('%') ? c : QLatin1Char('_');
    return QStringLiteral("attachment; filename=\"%1\"; filename*=UTF-8''%2")
        .arg(ascii, QString::fromLatin1(QUrl::toPercentEncoding(fileName)))
        .toStdString();
}

QString firstResourceUri(const QVariantHash& row)
{
    const QVariantList resources = row.value(QStringLiteral("mediaData")).toHash().value(QStringLiteral("resources")).toList();
    return resources.isEmpty() ? QString() : resources.first().toHash().value(QStringLiteral("uri")).toString();
}

}  // namespace

PlaylistFilesApi::PlaylistFilesApi(const HttpApi* api, const LibraryLocations& library) : m_api(api), m_library(library) {}

QString PlaylistFilesApi::trackListPath(int plid)
{
    return plid == 0 ? QStringLiteral("playlists:pq/getitems") : QStringLiteral("playlists:pl/getitems/%1").arg(plid);
}

void PlaylistFilesApi::install(HttpServer& server)
{
    server.server().Get("/api/export",
                        [this](const httplib::Request& req, httplib::Response& res) { exportFile(req, res); });
    server.post("/api/import", HttpServer::MaxBodyBytes,
                [this](const httplib::Request& req, const std::string& body, httplib::Response& res) {
                    importFile(req, body, res);
                });
    server.gate().acceptFileBody("/api/import");
}

bool PlaylistFilesApi::setData(const QString& path, const QVariant& value, QVariant* answer, CMError* error) const
{
    CMVoidReply reply;
    CMRoot()->sendSetData(CMSetDataRequest(CMPath(path), value, reply));
    if (!m_api->waitFor(reply, error))
        return false;
    if (reply.hasError()) {
        *error = reply.error();
        return false;
    }
    *answer = reply.variant();
    return true;
}

bool PlaylistFilesApi::getRows(const QString& path, int fromRow, int toRow, QVariantHash* answer, CMError* error) const
{
    CMReply<KeloRowsRoles> reply;
    CMRoot()->sendGetRows(CMGetRowsRequest(CMPath(path), fromRow, toRow, {}, reply));
    if (!m_api->waitFor(reply, error))
        return false;
    if (reply.hasError()) {
        *error = reply.error();
        return false;
    }
    *answer = reply.variant().toHash();
    return true;
}

bool PlaylistFilesApi::playlistName(int plid, QString* name, CMError* error) const
{
    QVariantHash root;
    if (!getRows(QStringLiteral("playlists:"), 0, INT_MAX, &root, error))
        return false;
    const QString path = trackListPath(plid);
    for (const QVariant& row : root.value(QStringLiteral("rows")).toList()) {
        if (row.toHash().value(QStringLiteral("path")).toString() == path) {
            *name = row.toHash().value(QStringLiteral("title")).toString();
            return true;
        }
    }
    // The play queue is left out of the root when it is hidden, but it is always there.
    if (plid == 0) {
        *name = QStringLiteral("Play queue");
        return true;
    }
    *error = CMError(CMError::NotFoundName(), QStringLiteral("There is no playlist with this ID. (%1)").arg(plid));
    return false;
}

bool PlaylistFilesApi::readEntries(int plid, bool absolute, QList<PlaylistFileEntry>* entries, CMError* error) const
{
    int count = 1;
    for (int from = 0; from < count; from += RowsPage) {
        QVariantHash page;
        if (!getRows(trackListPath(plid), from, from + RowsPage - 1, &page, error))
            return false;
        count = page.value(QStringLiteral("rowsCount")).toInt();
        for (const QVariant& value : page.value(QStringLiteral("rows")).toList()) {
            const QVariantHash row = value.toHash();
            const QString uri = firstResourceUri(row);
            const QString libraryLocation = m_library.locationOf(uri, absolute);
            PlaylistFileEntry entry;
            entry.location = libraryLocation.isEmpty() ? uri : libraryLocation;
            entry.title = row.value(QStringLiteral("title")).toString();
            entry.artist = row.value(QStringLiteral("artist")).toString();
            entry.album = row.value(QStringLiteral("album")).toString();
            const QVariant duration = row.value(QStringLiteral("duration"));
            entry.durationSeconds = duration.isValid() && duration.toInt() > 0 ? duration.toInt() : -1;
            entries->append(entry);
        }
    }
    return true;
}

void PlaylistFilesApi::exportFile(const httplib::Request& req, httplib::Response& res) const
{
    bool ok = false;
    const int plid = QString::fromStdString(req.get_param_value("plid")).toInt(&ok);
    if (!ok || plid < 0)
        return HttpErrors::answer(res, badRequest(QStringLiteral("\"plid\" must be a playlist id (0: the play queue).")));
    const PlaylistFile::Format format = PlaylistFile::formatNamed(QString::fromStdString(req.get_param_value("format")));
    if (format == PlaylistFile::Format::Unknown)
        return HttpErrors::answer(res, badRequest(QStringLiteral("\"format\" must be m3u8, pls or xspf.")));
    const bool absolute = req.get_param_value("absolute") == "1";

    CMError error;
    PlaylistFileContent content;
    if (!playlistName(plid, &content.title, &error) || !readEntries(plid, absolute, &content.entries, &error))
        return HttpErrors::answer(res, error);
    const QByteArray file = PlaylistFile::write(format, content);
    res.set_header("Content-Disposition", contentDisposition(fileNameFor(content.title, PlaylistFile::extensionOf(format))));
    res.set_content(file.constData(), size_t(file.size()), PlaylistFile::mimeTypeOf(format).toStdString());
}
