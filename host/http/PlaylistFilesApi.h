#pragma once
// Playlist files in and out:
//   GET  /api/export?plid=N&format=m3u8|pls|xspf[&absolute=1]   the playlist (0: the play queue) as a
//        file, with a Content-Disposition file name made from its name
//   POST /api/import?name=NAME[&format=...]                      the file as the body; creates the
//        playlist NAME and adds the file's entries in order, answering
//        {"plid", "added", "missing": [{"line", "entry"}]} (and "stopped": the message of an add
//        that was refused part way, such as a full store; what was added until then stays)
// The formats are read and written by playlistfiles/; the playlist is read and changed only through
// the module's own browse rows and commands, sent through CMRoot() like every API request, and
// waited for with HttpApi's reply wait. The import body must carry a content type that browsers do
// not send across origins unasked (not text/plain nor a form type), so that it is preflighted.
// Handlers run in the server's worker threads; install() from the main thread before the server starts.
#include <QVariant>

#include "playlistfiles/LibraryLocations.h"
#include "playlistfiles/PlaylistFile.h"

class HttpApi;
class HttpServer;
class CMError;

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

class PlaylistFilesApi
{
public:
    // api: outlives this object; library: the media library's tracks and folder.
    PlaylistFilesApi(const HttpApi* api, const LibraryLocations& library);
    void install(HttpServer& server);

private:
    void exportFile(const httplib::Request& req, httplib::Response& res) const;
    // The body's type was checked by the server's gate (no type a web page may send unasked).
    void importFile(const httplib::Request& req, const std::string& body, httplib::Response& res) const;

    static QString trackListPath(int plid);  // the track list of the playlist, or of the play queue (0)
    // The module's answers, waited for. False with *error when there is none or it is an error.
    bool setData(const QString& path, const QVariant& value, QVariant* answer, CMError* error) const;
    bool getRows(const QString& path, int fromRow, int toRow, QVariantHash* answer, CMError* error) const;
    // The playlist's name from the root's rows; false with a NotFound *error when there is no such playlist.
    bool playlistName(int plid, QString* name, CMError* error) const;
    bool readEntries(int plid, bool absolute, QList<PlaylistFileEntry>* entries, CMError* error) const;
    bool rowsCount(int plid, int* count, CMError* error) const;
    // Adds one run of entries of the same kind; false with *error when the module refused it.
    bool addLibraryTracks(int plid, const QList<int>& trackIds, CMError* error) const;
    bool addStreams(int plid, const QList<PlaylistFileEntry>& entries, CMError* error) const;

    const HttpApi* m_api;
    LibraryLocations m_library;
};
