#include "http/ArtApi.h"

#include <QCryptographicHash>
#include <httplib.h>

#include "http/HttpErrors.h"
#include "media/Catalogue.h"

ArtApi::ArtApi(std::shared_ptr<const Catalogue> catalogue) : m_catalogue(std::move(catalogue)) {}

void ArtApi::install(httplib::Server& server)
{
    server.Get("/api/art", [this](const httplib::Request& req, httplib::Response& res) { art(req, res); });
}

void ArtApi::art(const httplib::Request& req, httplib::Response& res) const
{
    if (!req.has_param("path")) {
        HttpErrors::answer(res, CMError(CMError::BadRequestName(),
                                        QStringLiteral("GET /api/art takes ?path=<media path>")));
        return;
    }
    const QString path = QString::fromStdString(req.get_param_value("path"));
    const AlbumArt::Picture picture = m_catalogue->picture(path);
    if (picture.isNull()) {
        HttpErrors::answer(res, CMError(CMError::NotFoundName(), QStringLiteral("%1 has no picture").arg(path)));
        return;
    }
    const std::string etag =
        '"' + QCryptographicHash::hash(picture.data, QCryptographicHash::Sha1).toHex().left(20).toStdString() + '"';
    res.set_header("ETag", etag);
    res.set_header("Cache-Control", "no-cache");
    if (req.get_header_value("If-None-Match") == etag) {
        res.status = 304;
        return;
    }
    res.set_content(picture.data.constData(), size_t(picture.data.size()), picture.mimeType.toStdString());
}
