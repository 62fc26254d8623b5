#pragma once
// GET / and below: the files of the web page, from one folder. "/" and a folder give its index.html;
// nothing outside the folder is ever served ("..", symbolic links leading out, hidden files). When
// the folder does not exist, "/" answers a short text saying that the web page is not built. Paths
// under /api/ that no other route took are answered with a JSON NotFound error.
// Handlers run in the server's worker threads; the object is read-only after construction.
#include <QString>

namespace httplib {
class Server;
}

class StaticFiles
{
public:
    explicit StaticFiles(const QString& root);
    void install(httplib::Server& server);

    // The absolute file name a decoded URL path names, or empty when it names no servable file.
    QString resolve(const QString& urlPath) const;
    // The MIME type of a file name by its suffix; application/octet-stream when unknown.
    static QString mimeType(const QString& fileName);

private:
    QString m_root;  // canonical, or empty when the folder does not exist
    QString m_configuredRoot;
};
