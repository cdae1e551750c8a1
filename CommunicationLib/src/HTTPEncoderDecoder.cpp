#include "HTTPEncoderDecoder.h"

#include "ContentCoding.h"
#include "HeaderFields.h"
#include "RequestBody.h"

#include <Poco/DeflatingStream.h>

#include <optional>
#include <streambuf>
#include <typeinfo>

namespace Zovi::Net
{

POCO_IMPLEMENT_EXCEPTION(ContentTooLargeException, Poco::DataException, "Content too large")

namespace
{

using Poco::Net::HTTPRequest;
using Poco::Net::HTTPResponse;
using Poco::Net::HTTPServerRequest;

const std::string ACCEPT_ENCODING = "Accept-Encoding";
const std::string CONTENT_ENCODING = "Content-Encoding";
const std::string VARY = "Vary";

std::optional<std::uint64_t> declaredLength(const HTTPServerRequest& request)
{
    if (request.getChunkedTransferEncoding())
        return std::nullopt;
    const Poco::Int64 length = request.getContentLength64();
    if (length < 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(length);
}

// These methods have no body unless the message declares one; with others its length may be left open.
bool hasBodyOnlyIfDeclared(const std::string& method)
{
    return method == HTTPRequest::HTTP_GET || method == HTTPRequest::HTTP_HEAD ||
           method == HTTPRequest::HTTP_DELETE;
}

bool mayBodyBeAbsent(const HTTPServerRequest& request, std::optional<std::uint64_t> length)
{
    if (length)
        return *length == 0;
    return !request.getChunkedTransferEncoding() && hasBodyOnlyIfDeclared(request.getMethod());
}

bool hasNoBody(HTTPResponse::HTTPStatus status)
{
    return status == HTTPResponse::HTTP_NO_CONTENT || status == HTTPResponse::HTTP_NOT_MODIFIED;
}

void addVary(HTTPResponse& response)
{
    const std::string all = joinedHeader(response, VARY);
    for (const std::string_view name : splitTrimmed(all, ',')) {
        if (name == "*" || equalsIgnoringCase(name, ACCEPT_ENCODING))
            return;
    }
    const std::string first = response.get(VARY, "");
    response.set(VARY, first.empty() ? ACCEPT_ENCODING : first + ", " + ACCEPT_ENCODING);
}

/// Passes bytes on to a stream until it is detached, and swallows them from then on.
class DetachableBuf : public std::streambuf
{
public:
    explicit DetachableBuf(std::ostream& target)
        : m_target(&target)
    {
    }

    void detach() { m_target = nullptr; }
    bool hasPassedBytes() const { return m_hasPassedBytes; }

protected:
    int_type overflow(int_type character) override
    {
        if (traits_type::eq_int_type(character, traits_type::eof()))
            return traits_type::not_eof(character);
        const char byte = traits_type::to_char_type(character);
        return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
    }

    std::streamsize xsputn(const char* bytes, std::streamsize length) override
    {
        if (!m_target)
            return length;
        m_hasPassedBytes = m_hasPassedBytes || length > 0;
        m_target->write(bytes, length);
        return m_target->good() ? length : 0;
    }

private:
    std::ostream* m_target;
    bool m_hasPassedBytes = false;
};

} // namespace

/// An open coder on a target. Its destructor flushes: the target must be detached before.
class HTTPEncoderDecoder::Output
{
public:
    Output(std::ostream& target, ContentCoding coding)
        : m_coding(coding)
        , m_sink(target)
        , m_sinkStream(&m_sink)
        , m_coder(m_sinkStream, coding == ContentCoding::GZIP ? Poco::DeflatingStreamBuf::STREAM_GZIP
                                                              : Poco::DeflatingStreamBuf::STREAM_ZLIB)
    {
    }

    ~Output() { m_sink.detach(); }

    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::ostream& stream() { return m_coder; }
    ContentCoding coding() const { return m_coding; }

    // The coder writes nothing as long as it is given nothing.
    bool hasCodedBytes() const { return m_sink.hasPassedBytes(); }

    bool close()
    {
        const bool finished = finish();
        m_sink.detach();
        return finished;
    }

private:
    bool finish()
    {
        try {
            m_coder.close();
            return m_coder.good() && m_sinkStream.good();
        } catch (const Poco::IOException&) {
            return false;
        }
    }

    ContentCoding m_coding;
    DetachableBuf m_sink;
    std::ostream m_sinkStream;
    Poco::DeflatingOutputStream m_coder;
};

HTTPEncoderDecoder::HTTPEncoderDecoder(const Poco::Net::HTTPServerRequest& request,
                                       Poco::Net::HTTPServerResponse& response)
    : m_request(request)
    , m_response(response)
    , m_accepted(negotiateCoding(joinedHeader(request, ACCEPT_ENCODING)))
{
}

HTTPEncoderDecoder::~HTTPEncoderDecoder() = default;

void HTTPEncoderDecoder::setInputLimit(std::uint64_t bytes)
{
    m_inputLimit = bytes;
}

std::istream& HTTPEncoderDecoder::getInputStream(std::istream& source)
{
    RequestBodyRules rules;
    rules.coding = parseContentEncoding(joinedHeader(m_request, CONTENT_ENCODING));
    rules.declaredLength = declaredLength(m_request);
    rules.mayBeAbsent = mayBodyBeAbsent(m_request, rules.declaredLength);
    rules.limit = m_inputLimit;
    m_input = openRequestBody(source, rules);
    return *m_input;
}

std::ostream& HTTPEncoderDecoder::getOutputStream(std::ostream& target)
{
    dropOutput();
    addVary(m_response);
    if (!shouldEncode()) {
        m_plainTarget = &target;
        return target;
    }
    m_output = std::make_unique<Output>(target, m_accepted);
    return m_output->stream();
}

bool HTTPEncoderDecoder::close()
{
    if (m_plainTarget) {
        const bool isGood = m_plainTarget->good();
        m_plainTarget = nullptr;
        return isGood;
    }
    // A closed coder stays, detached, since somebody may still write to its stream.
    if (!m_output || m_isClosed)
        return true;
    m_isClosed = true;
    const bool isGood = m_output->close();
    if (m_output->hasCodedBytes()) {
        m_response.set(CONTENT_ENCODING, codingName(m_output->coding()));
        m_hasSaidCoding = true;
    }
    return isGood;
}

bool HTTPEncoderDecoder::shouldEncode() const
{
    return m_accepted != ContentCoding::IDENTITY && !hasNoBody(m_response.getStatus()) &&
           !m_response.has(CONTENT_ENCODING);
}

// What an earlier, abandoned answer left behind must not speak for the next one.
void HTTPEncoderDecoder::dropOutput()
{
    m_plainTarget = nullptr;
    m_output.reset();
    m_isClosed = false;
    if (m_hasSaidCoding)
        m_response.erase(CONTENT_ENCODING);
    m_hasSaidCoding = false;
}

} // namespace Zovi::Net
