#include "http/StaticFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <httplib.h>

#include "KeloLog.h"
#include "http/HttpErrors.h"

StaticFiles::StaticFiles(const QString& root)
    : m_root(QFileInfo(root).isDir() ? QFileInfo(root).canonicalFilePath() : QString()), m_configuredRoot(root)
{
}

QString StaticFiles::mimeType(const QString& fileName)
{
    static const QHash<QString, QString> types = {
        {QStringLiteral("html"), QStringLiteral("text/html; charset=utf-8")},
        {QStringLiteral("htm"), QStringLiteral("text/html; charset=utf-8")},
        {QStringLiteral("css"), QStringLiteral("text/css; charset=utf-8")},
        {QStringLiteral("js"), QStringLiteral("text/javascript; charset=utf-8")},
        {QStringLiteral("mjs"), QStringLiteral("text/javascript; charset=utf-8")},
        {QStringLiteral("json"), QStringLiteral("application/json; charset=utf-8")},
        {QStringLiteral("map"), QStringLiteral("application/json; charset=utf-8")},
        {QStringLiteral("txt"), QStringLiteral("text/plain; charset=utf-8")},
        {QStringLiteral("svg"), QStringLiteral("image/svg+xml")},
        {QStringLiteral("png"), QStringLiteral("image/png")},
        {QStringLiteral("jpg"), QStringLiteral("image/jpeg")},
        {QStringLiteral("jpeg"), QStringLiteral("image/jpeg")},
        {QStringLiteral("gif"), QStringLiteral("image/gif")},
        {QStringLiteral("webp"), QStringLiteral("image/webp")},
        {QStringLiteral("ico"), QStringLiteral("image/x-icon")},
        {QStringLiteral("woff2"), QStringLiteral("font/woff2")},
        {QStringLiteral("webmanifest"), QStringLiteral("application/manifest+json")},
    };
    return types.value(QFileInfo(fileName).suffix().toLower(), QStringLiteral("application/octet-stream"));
}

QString StaticFiles::resolve(const QString& urlPath) const
{
    if (m_root.isEmpty() || !urlPath.startsWith(QLatin1Char('/')))
        return QString();
    const QStringList segments = urlPath.mid(1).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString& segment : segments) {
        if (segment.startsWith(QLatin1Char('.')) || segment.contains(QLatin1Char('\\')) || segment.contains(QChar()))
            return QString();
    }
    QFileInfo file(m_root + QLatin1Char('/') + segments.join(QLatin1Char('/')));
    if (file.isDir())
        file.setFile(file.absoluteFilePath() + QStringLiteral("/index.html"));
    const QString canonical = file.canonicalFilePath();  // empty when it does not exist
    if (canonical.isEmpty() || !file.isFile() || !canonical.startsWith(m_root + QLatin1Char('/')))
        return QString();
    return canonical;
}

void StaticFiles::install(httplib::Server& server)
{
    server.Get("/.*", [this](const httplib::Request& req, httplib::Response& res) {
        if (m_root.isEmpty() && req.path == "/") {
            const QString text = QStringLiteral("kelo-host is running, but the web page is not built: "
                                                "%1 does not exist.\nThe API is under /api/.\n")
                                     .arg(m_configuredRoot);
            return res.set_content(text.toStdString(), "text/plain; charset=utf-8");
        }
        // Clients of the API read JSON, also when they asked for something that is not there.
        if (req.path.rfind("/api/", 0) == 0)
            return HttpErrors::answer(res, HttpErrors::forStatus(404));
        QFile file(resolve(QString::fromStdString(req.path)));
        if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly)) {
            res.status = 404;
            return res.set_content("Not found\n", "text/plain; charset=utf-8");
        }
        const QByteArray content = file.readAll();
        res.set_content(content.constData(), static_cast<size_t>(content.size()),
                        mimeType(file.fileName()).toStdString());
    });
}
