#pragma once

#include "CommunicationLibExport.h"

#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>

#include <cstdint>
#include <istream>
#include <memory>
#include <ostream>

namespace Zovi::Net
{

/// The content coding of one HTTP exchange: undoes that of the request's body and applies one to the answer.
///
/// Known codings are gzip, deflate (in the zlib format) and identity. For the answer the client's
/// "Accept-Encoding" decides, with its weights: `q=0` refuses, `*` stands for what is not named, gzip goes
/// before deflate at equal weight, and no header means no coding.
///
/// An object serves one exchange on one thread. Request and response must outlive it, and so must the streams
/// that are handed to it.
class KYRCOMMUNICATION_API HTTPEncoderDecoder
{
public:
    /// Reads "Content-Encoding" of `request` and negotiates the coding of the answer. Throws nothing on unknown
    /// codings: `getInputStream` does.
    HTTPEncoderDecoder(const Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response);
    ~HTTPEncoderDecoder();

    HTTPEncoderDecoder(const HTTPEncoderDecoder&) = delete;
    HTTPEncoderDecoder& operator=(const HTTPEncoderDecoder&) = delete;

    /// Bounds the bytes that come out of the request side, 0 for no limit, which is the default. Takes effect on
    /// the next `getInputStream`.
    void setInputLimit(std::uint64_t bytes);

    /// The body of the request with its coding undone, read from `source`. The stream throws out of its read
    /// operations, so that nothing damaged passes as whole: `Poco::DataFormatException` if the body is malformed,
    /// incomplete or followed by anything, `Poco::Net::... ` past the limit.
    /// Throws `Poco::NotImplementedException`, naming it, if the coding is not known.
    std::istream& getInputStream(std::istream& source);

    /// A stream that writes to `target`, coded as the client accepts it. Says "Vary: Accept-Encoding" in the
    /// response. One stream is open at a time: `close()` ends it.
    std::ostream& getOutputStream(std::ostream& target);

    /// Completes the coded output. "Content-Encoding" is said now, if bytes went through a coding; an empty body
    /// has none. Without an open coder it does nothing. False if the target stream failed.
    bool close();

private:
    class Input;
    class Output;
};

} // namespace Zovi::Net
