#include "http/RequestFraming.h"

#include <cctype>
#include <cstdlib>
#include <vector>

namespace RequestFraming {

namespace {

// A chunk-size line longer than this is not one (sizes and extensions are short).
constexpr size_t MaxChunkLine = 1024;

struct Field
{
    std::string name;  // lower case
    std::string value;
};

// The header fields of the head [0, end); lines without a colon are left to the parser to refuse.
std::vector<Field> fields(const std::string& buffer, size_t end)
{
    std::vector<Field> result;
    size_t at = buffer.find("\r\n");
    while (at != std::string::npos && at + 2 < end) {
        const size_t start = at + 2;
        const size_t stop = buffer.find("\r\n", start);
        const size_t colon = buffer.find(':', start);
        if (colon != std::string::npos && colon < stop)
            result.push_back({lower(buffer.substr(start, colon - start)), trimmed(buffer.substr(colon + 1, stop - colon - 1))});
        at = stop;
    }
    return result;
}

bool isNumber(const std::string& text)
{
    return !text.empty() && text.size() <= 18 && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

std::string lower(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

Progress readHead(const std::string& buffer, size_t maxBytes, size_t maxBody, Head* head)
{
    const size_t end = buffer.find("\r\n\r\n");
    if (end == std::string::npos || end + 4 > maxBytes)
        return end == std::string::npos && buffer.size() < maxBytes ? Progress::NeedMore : Progress::TooLarge;
    *head = Head();
    head->bytes = end + 4;
    std::vector<std::string> lengths;
    bool transferCoded = false;
    bool chunked = false;
    for (const Field& field : fields(buffer, end + 2)) {
        if (field.name == "content-length")
            lengths.push_back(field.value);
        else if (field.name == "transfer-encoding") {
            transferCoded = true;
            chunked = lower(field.value) == "chunked";
        } else if (field.name == "expect")
            head->expectsContinue = lower(field.value) == "100-continue";
    }
    if (transferCoded) {
        head->body = chunked && lengths.empty() ? Body::Chunked : Body::Unclear;
        return Progress::Complete;
    }
    if (lengths.empty())
        return Progress::Complete;
    for (const std::string& length : lengths) {
        if (!isNumber(length) || length != lengths.front()) {
            head->body = Body::Unclear;
            return Progress::Complete;
        }
    }
    head->body = Body::Length;
    head->length = std::strtoull(lengths.front().c_str(), nullptr, 10);
    return head->length > maxBody ? Progress::TooLarge : Progress::Complete;
}

Progress readChunks(const std::string& buffer, size_t maxBody, Chunks* chunks)
{
    for (;;) {
        const size_t lineEnd = buffer.find("\r\n", chunks->at);
        if (lineEnd == std::string::npos)
            return buffer.size() - chunks->at > MaxChunkLine ? Progress::Malformed : Progress::NeedMore;
        if (lineEnd - chunks->at > MaxChunkLine || !std::isxdigit(static_cast<unsigned char>(buffer[chunks->at])))
            return Progress::Malformed;
        const size_t digits = buffer.find_first_not_of("0123456789abcdefABCDEF", chunks->at);
        if (digits - chunks->at > 15)
            return Progress::TooLarge;
        const size_t size = std::strtoull(buffer.c_str() + chunks->at, nullptr, 16);
        if (size == 0) {
            // The last chunk, then trailer fields, each on its line, then a blank line.
            const size_t end = buffer.find("\r\n\r\n", lineEnd);
            if (end == std::string::npos)
                return buffer.size() - lineEnd > MaxChunkLine * 8 ? Progress::Malformed : Progress::NeedMore;
            chunks->at = end + 4;
            return Progress::Complete;
        }
        if (chunks->carried + size > maxBody)
            return Progress::TooLarge;
        const size_t dataEnd = lineEnd + 2 + size;
        if (buffer.size() < dataEnd + 2)
            return Progress::NeedMore;
        if (buffer.compare(dataEnd, 2, "\r\n") != 0)
            return Progress::Malformed;
        chunks->carried += size;
        chunks->at = dataEnd + 2;
    }
}

std::string withoutExpect(const std::string& head)
{
    std::string result;
    result.reserve(head.size());
    size_t at = 0;
    while (at < head.size()) {
        size_t next = head.find("\r\n", at);
        next = next == std::string::npos ? head.size() : next + 2;
        if (lower(head.substr(at, 7)) != "expect:")
            result.append(head, at, next - at);
        at = next;
    }
    return result;
}

}  // namespace RequestFraming
