#include "ServiceKit/RequestError.h"

namespace Zovi::ServiceKit
{

RequestError::RequestError(Command::HTTPStatus status, const std::string& message)
    : std::runtime_error(message)
    , m_status(status)
{
}

Command::HttpResponse RequestError::toResponse() const
{
    return Command::HttpResponse::createError(m_status, what());
}

MethodNotAllowed::MethodNotAllowed(const std::string& message, const std::string& allowed)
    : RequestError(Command::HTTPStatus::HTTP_METHOD_NOT_ALLOWED, message)
    , m_allowed(allowed)
{
}

} // namespace Zovi::ServiceKit
