#include "HTTPCacheHandler.h"

#include "ContentHash.h"
#include "HeaderFields.h"
#include "JSONPrinter.h"

#include <Poco/Ascii.h>
#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>
#include <Poco/String.h>

#include <algorithm>
#include <array>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <vector>

namespace Zovi::Net
{

namespace
{

const std::string ETAG = "ETag";
const std::string IF_MATCH = "If-Match";
const std::string IF_NONE_MATCH = "If-None-Match";
const std::string_view ANY_TAG = "*";
const std::string_view WEAK_MARK = "W/";
const std::size_t TAG_DIGITS = 8;

/// Hashes what is written to it and keeps none of it.
class HashingBuf : public std::streambuf
{
public:
    HashingBuf() { setp(m_bytes.data(), m_bytes.data() + m_bytes.size()); }

    std::uint32_t value()
    {
        hashWritten();
        return m_hash.value();
    }

protected:
    int_type overflow(int_type character) override
    {
        hashWritten();
        if (!traits_type::eq_int_type(character, traits_type::eof()))
            sputc(traits_type::to_char_type(character));
        return traits_type::not_eof(character);
    }

private:
    void hashWritten()
    {
        m_hash.add(pbase(), static_cast<std::size_t>(pptr() - pbase()));
        setp(m_bytes.data(), m_bytes.data() + m_bytes.size());
    }

    ContentHash m_hash;
    std::array<char, 1024> m_bytes;
};

void skipBlanks(std::string_view& list)
{
    list.remove_prefix(std::min(list.find_first_not_of(" \t"), list.size()));
}

// To behind the next comma; one inside quotes ends nothing.
void skipElement(std::string_view& list)
{
    bool isQuoted = false;
    std::size_t end = 0;
    while (end < list.size() && (isQuoted || list[end] != ',')) {
        if (list[end] == '"')
            isQuoted = !isQuoted;
        ++end;
    }
    list.remove_prefix(std::min(end + 1, list.size()));
}

// The text between the quotes of the entity tag that `list` begins with, null if that is none. Weak tags and
// strong ones compare alike here.
std::optional<std::string_view> takeEntityTag(std::string_view& list)
{
    if (list.substr(0, WEAK_MARK.size()) == WEAK_MARK)
        list.remove_prefix(WEAK_MARK.size());
    if (list.empty() || list.front() != '"')
        return std::nullopt;
    const std::size_t end = list.find('"', 1);
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view tag = list.substr(1, end - 1);
    list.remove_prefix(end + 1);
    skipBlanks(list);
    if (!list.empty() && list.front() != ',')
        return std::nullopt;
    return tag;
}

bool isTagDigit(char character)
{
    return Poco::Ascii::isDigit(character) || (character >= 'a' && character <= 'f');
}

// The number that one of our own tags writes, null for any other tag.
std::optional<Poco::UInt32> parseOwnTag(std::string_view tag)
{
    if (tag.size() != TAG_DIGITS || !std::all_of(tag.begin(), tag.end(), isTagDigit))
        return std::nullopt;
    return Poco::NumberParser::parseHex(std::string(tag));
}

std::vector<Poco::UInt32> parseOwnTags(std::string_view list)
{
    std::vector<Poco::UInt32> numbers;
    while (!list.empty()) {
        skipBlanks(list);
        if (const auto tag = takeEntityTag(list)) {
            if (const auto number = parseOwnTag(*tag))
                numbers.push_back(*number);
        }
        skipElement(list);
    }
    return numbers;
}

Poco::UInt32 hashOf(const char* bytes, std::size_t length)
{
    ContentHash hash;
    hash.add(bytes, length);
    return hash.value();
}

} // namespace

HTTPCacheHandler::CacheRequestResult HTTPCacheHandler::handleRequest(const Poco::Net::HTTPRequest& request,
                                                                     Poco::Net::HTTPResponse& response,
                                                                     Poco::JSON::Object::Ptr jsonObject) const
{
    if (!jsonObject)
        return CONTENT_CHANGED;
    return handleETag(request, response, calculateETag(jsonObject));
}

HTTPCacheHandler::CacheRequestResult HTTPCacheHandler::handleRequest(const Poco::Net::HTTPRequest& request,
                                                                     Poco::Net::HTTPResponse& response,
                                                                     const std::string& data) const
{
    return handleETag(request, response, calculateETag(data));
}

HTTPCacheHandler::CacheRequestResult HTTPCacheHandler::handleRequest(const Poco::Net::HTTPRequest& request,
                                                                     Poco::Net::HTTPResponse& response,
                                                                     const char* data,
                                                                     unsigned int length) const
{
    if (!data && length > 0)
        return CONTENT_CHANGED;
    return handleETag(request, response, calculateETag(data, length));
}

HTTPCacheHandler::PreconditionResult
HTTPCacheHandler::checkRequestHeader(const Poco::Net::HTTPRequest& request) const
{
    if (!request.has(IF_MATCH) || trimmed(joinedHeader(request, IF_MATCH)) == ANY_TAG)
        return PRECONDITION_VALID;
    return PRECONDITION_FAILED;
}

HTTPCacheHandler::CacheRequestResult HTTPCacheHandler::handleETag(const Poco::Net::HTTPRequest& request,
                                                                  Poco::Net::HTTPResponse& response,
                                                                  Poco::UInt32 eTag)
{
    insertETag(response, eTag);
    Poco::UInt32 clientETag = eTag;
    const bool isNamed = extractIfNoneMatch(request, clientETag);
    return isNamed && clientETag == eTag ? CONTENT_UNCHANGED : CONTENT_CHANGED;
}

// In: the ETag to look for. Out, if true: that ETag, if the client names it or any, otherwise the first it
// names.
bool HTTPCacheHandler::extractIfNoneMatch(const Poco::Net::HTTPRequest& request, Poco::UInt32& eTag)
{
    const std::string header = joinedHeader(request, IF_NONE_MATCH);
    if (trimmed(header) == ANY_TAG)
        return true;
    const std::vector<Poco::UInt32> named = parseOwnTags(header);
    if (named.empty())
        return false;
    if (std::find(named.begin(), named.end(), eTag) == named.end())
        eTag = named.front();
    return true;
}

void HTTPCacheHandler::insertETag(Poco::Net::HTTPResponse& response, Poco::UInt32 eTag)
{
    // The formatter writes upper-case digits.
    const std::string digits =
        Poco::toLower(Poco::NumberFormatter::formatHex(eTag, static_cast<int>(TAG_DIGITS)));
    response.set(ETAG, std::string(WEAK_MARK) + '"' + digits + '"');
}

Poco::UInt32 HTTPCacheHandler::calculateETag(const char* data, unsigned int length)
{
    return hashOf(data, length);
}

Poco::UInt32 HTTPCacheHandler::calculateETag(const Poco::JSON::Object::Ptr& jsonObject)
{
    HashingBuf buffer;
    std::ostream stream(&buffer);
    Util::JSONPrinter::print(*jsonObject, stream);
    return buffer.value();
}

Poco::UInt32 HTTPCacheHandler::calculateETag(const std::string& data)
{
    return hashOf(data.data(), data.size());
}

} // namespace Zovi::Net
