#pragma once

#include "CommunicationLibExport.h"

#include <Poco/Exception.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>

#include <cstdint>
#include <istream>
#include <memory>
#include <ostream>

namespace Zovi::Net
{

enum class ContentCoding : int;

/// Says that a body goes past the limit that was set for it. A server answers it with 413, where it answers a
/// `Poco::DataFormatException`, which tells of a damaged body, with 400.
POCO_DECLARE_EXCEPTION(KYRCOMMUNICATION_API, ContentTooLargeException, Poco::DataException)

/// The content coding of one HTTP exchange: undoes that of the request's body and applies one to the answer.
///
/// Known codings are gzip, also by its old name x-gzip, deflate (in the zlib format) and identity. For the
/// answer the client's "Accept-Encoding" decides, with its weights: `q=0` refuses, and so does a weight that
/// is no weight; `*` stands for what is not named; gzip goes before deflate, and both before identity, at
/// equal weight; no header means no coding. If nothing that the client accepts is known, the answer goes out
/// uncoded.
///
/// An object serves one exchange on one thread. Request and response must outlive it, and so must the source
/// stream; the target stream need only live until `close()`.
///
///     HTTPEncoderDecoder coder(request, response);
///     std::ostringstream body;
///     coder.getOutputStream(body) << "...";
///     coder.close();
///     response.sendBuffer(body.str().data(), body.str().size());
class KYRCOMMUNICATION_API HTTPEncoderDecoder
{
public:
    /// Negotiates the coding of the answer. Throws nothing on an unknown coding of the request:
    /// `getInputStream` does.
    HTTPEncoderDecoder(const Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response);

    /// Drops a coder that is still open without a byte to its target, which may be dead by then.
    ~HTTPEncoderDecoder();

    HTTPEncoderDecoder(const HTTPEncoderDecoder&) = delete;
    HTTPEncoderDecoder& operator=(const HTTPEncoderDecoder&) = delete;

    /// Bounds the bytes that come out of the request side, coded or not, 0 for no limit, which is the
    /// default. Takes effect on the next `getInputStream`.
    void setInputLimit(std::uint64_t bytes);

    /// The body of the request with its coding undone, read from `source`, the request's own stream. It lives
    /// as long as this object and until the next call.
    ///
    /// The stream throws out of its read operations, so that nothing damaged passes as whole:
    /// - `Poco::DataFormatException` if the body is malformed, ends early, falls short of its declared
    ///   length, or if anything follows the coded data, a second gzip member included;
    /// - `ContentTooLargeException` as soon as more than the limit comes out, with no more than that read;
    /// - what the source throws, as it is.
    ///
    /// A coded body of no bytes is malformed, too, unless the request announced none: by a length of 0, or
    /// with a method that has no body unless one is announced.
    ///
    /// Throws `Poco::NotImplementedException`, naming it, if the coding is not known, or if there are
    /// several.
    std::istream& getInputStream(std::istream& source);

    /// A stream that writes to `target`, coded as the client accepts it. Says "Vary: Accept-Encoding" in the
    /// response. Nothing is coded if the response has a "Content-Encoding" already, or a status without a
    /// body.
    ///
    /// `target` is a buffer rather than the connection: the headers are complete only after `close()`. A
    /// stream that is still open from an earlier call is dropped.
    std::ostream& getOutputStream(std::ostream& target);

    /// Completes the output. "Content-Encoding" is said now, if bytes went through a coding; an empty body
    /// has none. Without an open stream it does nothing and gives true. False if the target stream failed.
    bool close();

private:
    class Output;

    bool shouldEncode() const;
    void dropOutput();

    const Poco::Net::HTTPServerRequest& m_request;
    Poco::Net::HTTPServerResponse& m_response;
    ContentCoding m_accepted;
    std::uint64_t m_inputLimit = 0;
    std::unique_ptr<std::istream> m_input;
    std::unique_ptr<Output> m_output;
    std::ostream* m_plainTarget = nullptr;
    bool m_isClosed = false;
    bool m_hasSaidCoding = false;
};

} // namespace Zovi::Net
