// An address: parsing never fails but by Poco's refusal of the URL, no address is less than itself, equality
// is symmetric, an invalid address stays invalid when its own text is read again, and what is read is what
// the plain rules read.

#include "Command/UrlPath.h"

#include "Law.h"
#include "reference/PlainAddress.h"

#include <Poco/Exception.h>

using Zovi::Command::UrlPath;
using Zovi::Fuzz::require;
using Zovi::Fuzz::textOf;

namespace
{

void checkReadings(const UrlPath& path)
{
    require(path.isValid() == (path.getCharacteristic() != UrlPath::INVALID),
            "validity is the characteristic");
    require(!(path < path), "no address is less than itself");
    require(path == UrlPath(path), "a copy is equal");
    require(path.isServiceEqual(path.getService()), "a name is equal to itself");
    for (const auto& parameter : path.getQueryParameters()) {
        require(path.hasQueryParameter(parameter.first), "a parameter that is listed is there");
        require(!path.getQueryParameters(parameter.first).empty(), "a parameter that is there has values");
    }
}

void checkPlainly(const UrlPath& path)
{
    const Zovi::Test::PlainAddress plain = Zovi::Test::parsePlainly(path.getUri());
    require(path.getCharacteristic() == plain.characteristic && path.getService() == plain.service &&
                path.getResource() == plain.resource && path.getElement() == plain.element,
            "the plain rules read the same address");
}

void checkEquality(const UrlPath& left, const UrlPath& right)
{
    require((left == right) == (right == left), "equality is symmetric");
    const bool hasEqualLevels = left.getService() == right.getService() &&
                                left.getResource() == right.getResource() &&
                                left.getElement() == right.getElement();
    require(hasEqualLevels || left != right, "what differs in a level is not equal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const std::string text = textOf(data, size);
        const UrlPath path(text);
        checkReadings(path);
        checkPlainly(path);
        const UrlPath again{Poco::URI(path.getUri().toString())};
        if (again.getUri().getPath() == path.getUri().getPath())
            require(again.isValid() == path.isValid(), "what is written reads back with the same validity");
        checkEquality(path, again);
        checkEquality(path, UrlPath(text.substr(0, size / 2)));
    } catch (const Poco::Exception&) {
        // Poco refuses the URL.
    }
    return 0;
}
