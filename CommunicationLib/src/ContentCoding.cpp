#include "ContentCoding.h"

#include "HeaderFields.h"

#include <Poco/Ascii.h>
#include <Poco/Exception.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace Zovi::Net
{

namespace
{

/// Weight of a coding in thousandths; 0 refuses it.
using Weight = int;

const Weight FULL_WEIGHT = 1000;

struct AcceptedCoding {
    std::string_view name;
    Weight weight;
};

struct NamedCoding {
    std::string_view name;
    ContentCoding coding;
};

const NamedCoding KNOWN_CODINGS[] = {
    {"gzip", ContentCoding::GZIP},
    {"x-gzip", ContentCoding::GZIP},
    {"deflate", ContentCoding::DEFLATE},
    {"identity", ContentCoding::IDENTITY},
};

std::optional<ContentCoding> findCoding(std::string_view name)
{
    for (const NamedCoding& known : KNOWN_CODINGS) {
        if (equalsIgnoringCase(name, known.name))
            return known.coding;
    }
    return std::nullopt;
}

// "0" or "1" with up to three decimals, at most 1. Anything else is no weight and refuses the coding: a
// client gets nothing that it may not have wanted.
Weight parseWeight(std::string_view text)
{
    if (text.empty() || text.size() > 5 || (text[0] != '0' && text[0] != '1') ||
        (text.size() > 1 && text[1] != '.'))
        return 0;
    Weight weight = (text[0] - '0') * FULL_WEIGHT;
    Weight place = FULL_WEIGHT;
    for (const char digit : text.substr(std::min<std::size_t>(text.size(), 2))) {
        if (!Poco::Ascii::isDigit(digit))
            return 0;
        place /= 10;
        weight += (digit - '0') * place;
    }
    return weight <= FULL_WEIGHT ? weight : 0;
}

AcceptedCoding parseAcceptedCoding(std::string_view element)
{
    const std::vector<std::string_view> parts = splitTrimmed(element, ';');
    if (parts.empty())
        return {"", 0};
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (equalsIgnoringCase(parts[i].substr(0, 2), "q="))
            return {parts[0], parseWeight(parts[i].substr(2))};
    }
    return {parts[0], FULL_WEIGHT};
}

// The first mention of a coding counts; what is not mentioned goes by "*".
Weight weightOf(ContentCoding coding, const std::vector<AcceptedCoding>& accepted)
{
    const auto names = [coding](const AcceptedCoding& entry) {
        return findCoding(entry.name) == coding;
    };
    const auto isAny = [](const AcceptedCoding& entry) {
        return entry.name == "*";
    };
    auto found = std::find_if(accepted.begin(), accepted.end(), names);
    if (found == accepted.end())
        found = std::find_if(accepted.begin(), accepted.end(), isAny);
    return found == accepted.end() ? 0 : found->weight;
}

} // namespace

const char* codingName(ContentCoding coding)
{
    switch (coding) {
    case ContentCoding::GZIP:
        return "gzip";
    case ContentCoding::DEFLATE:
        return "deflate";
    case ContentCoding::IDENTITY:
        break;
    }
    return "identity";
}

ContentCoding parseContentEncoding(const std::string& value)
{
    ContentCoding result = ContentCoding::IDENTITY;
    for (const std::string_view name : splitTrimmed(value, ',')) {
        const std::optional<ContentCoding> coding = findCoding(name);
        if (!coding)
            throw Poco::NotImplementedException("Unknown content coding", std::string(name));
        if (*coding == ContentCoding::IDENTITY)
            continue;
        if (result != ContentCoding::IDENTITY)
            throw Poco::NotImplementedException("More than one content coding", value);
        result = *coding;
    }
    return result;
}

ContentCoding negotiateCoding(std::string_view value)
{
    std::vector<AcceptedCoding> accepted;
    for (const std::string_view element : splitTrimmed(value, ','))
        accepted.push_back(parseAcceptedCoding(element));
    ContentCoding best = ContentCoding::IDENTITY;
    Weight bestWeight = weightOf(best, accepted);
    for (const ContentCoding coding : {ContentCoding::DEFLATE, ContentCoding::GZIP}) {
        const Weight weight = weightOf(coding, accepted);
        if (weight > 0 && weight >= bestWeight) {
            best = coding;
            bestWeight = weight;
        }
    }
    return best;
}

} // namespace Zovi::Net
