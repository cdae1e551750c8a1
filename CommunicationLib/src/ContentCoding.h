#pragma once

#include <string>
#include <string_view>

namespace Zovi::Net
{

/// What a body may be coded with.
enum class ContentCoding : int { IDENTITY, GZIP, DEFLATE };

/// The name that "Content-Encoding" writes.
const char* codingName(ContentCoding coding);

/// The coding that the value of "Content-Encoding" names. Throws `Poco::NotImplementedException`, naming it,
/// if it is not known or if it is more than one.
ContentCoding parseContentEncoding(const std::string& value);

/// The coding for an answer to a client whose "Accept-Encoding" is `value`.
ContentCoding negotiateCoding(std::string_view value);

} // namespace Zovi::Net
