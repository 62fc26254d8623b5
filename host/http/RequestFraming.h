#pragma once
// Where an HTTP/1.1 request ends in the bytes a connection has received, without decoding it: the
// front end reads a whole request before a worker sees it, and the worker's parser (httplib) then
// reads exactly these bytes. Only what framing needs is looked at: the blank line that ends the head,
// Content-Length, Transfer-Encoding: chunked and Expect: 100-continue. Everything else (the request
// line, header syntax, whether the framing is allowed) is judged later by the parser and the
// RequestGate. Plain functions of their arguments: any thread.
#include <cstddef>
#include <string>

namespace RequestFraming {

// Header texts as HTTP compares them: names and tokens without case, values without the blanks
// around them.
std::string lower(std::string text);
std::string trimmed(const std::string& text);

enum class Progress {
    NeedMore,  // not complete yet
    Complete,
    Malformed,  // the body's framing cannot be read (a chunk size that is not hex, no CRLF after a chunk)
    TooLarge,   // the head or the body is over its bound
};

enum class Body {
    None,
    Length,   // Content-Length: n
    Chunked,  // Transfer-Encoding: chunked
    Unclear,  // several differing lengths, a length beside Transfer-Encoding, another coding: the
              // end is unknown; the head alone is the request and the connection ends after it
};

struct Head
{
    size_t bytes = 0;  // the head through its blank line
    Body body = Body::None;
    size_t length = 0;  // Body::Length
    bool expectsContinue = false;
};

// The head at the start of buffer. TooLarge when no blank line is within the first maxBytes; a
// Content-Length over maxBody is TooLarge too.
Progress readHead(const std::string& buffer, size_t maxBytes, size_t maxBody, Head* head);

// A chunked body being received: where its next chunk-size line starts and how much it carried.
struct Chunks
{
    size_t at = 0;  // offset in the buffer
    size_t carried = 0;
};
// Advances chunks through buffer; on Complete, chunks->at is where the request ends (after the
// trailer's blank line). TooLarge as soon as a chunk would take the body over maxBody.
Progress readChunks(const std::string& buffer, size_t maxBody, Chunks* chunks);

// head.bytes of buffer without its Expect header: the front end answers "100 Continue" itself.
std::string withoutExpect(const std::string& head);

}  // namespace RequestFraming
