#pragma once

#include "Command/HttpResponse.h"

#include <stdexcept>
#include <string>

namespace Zovi::ServiceKit
{

/// Thrown where a request cannot be fulfilled; the exchange then ends with the error document of this status
/// and message. A resource may throw it from any of its operations:
///
///     throw RequestError(Command::HTTPStatus::HTTP_CONFLICT, "the shelf is full");
class RequestError : public std::runtime_error
{
public:
    /// An empty `message` stands for the default text of `status`.
    RequestError(Command::HTTPStatus status, const std::string& message);

    /// The status of the answer.
    Command::HTTPStatus status() const { return m_status; }

    /// The answer that tells of it.
    Command::HttpResponse toResponse() const;

private:
    Command::HTTPStatus m_status;
};

/// The method is known, but not supported by the address: status 405. The answer must tell the allowed ones.
class MethodNotAllowed : public RequestError
{
public:
    /// `allowed` is the value for the "Allow" header.
    MethodNotAllowed(const std::string& message, const std::string& allowed);

    /// The value for the "Allow" header.
    const std::string& allowed() const { return m_allowed; }

private:
    std::string m_allowed;
};

} // namespace Zovi::ServiceKit
