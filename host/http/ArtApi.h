#pragma once
// GET /api/art?path=<media path>: the picture of a media library row ("media:album/<n>",
// "media:track/<n>") with its content type and an ETag; 304 when the client's If-None-Match names
// it, 404 when the row has no picture. The catalogue is only read, so handlers run in httplib's
// threads without locking; install() from the main thread before the server starts.
#include <memory>

class Catalogue;

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

class ArtApi
{
public:
    explicit ArtApi(std::shared_ptr<const Catalogue> catalogue);
    void install(httplib::Server& server);

private:
    void art(const httplib::Request& req, httplib::Response& res) const;

    std::shared_ptr<const Catalogue> m_catalogue;
};
