#pragma once

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <typeinfo>

namespace Zovi::Fuzz
{

/// The address of a collection with a query, and the text of a document.
struct QueryInput {
    QueryInput(const std::uint8_t* data, std::size_t size)
    {
        FuzzedDataProvider input(data, size);
        url = "/service/resource?" + input.ConsumeRandomLengthString(512);
        document = input.ConsumeRemainingBytesAsString();
    }

    std::string url;
    std::string document;
};

/// What `evaluate` throws, "none" if nothing; "effort" for a pattern that takes more effort than is granted,
/// which the plain evaluation may grant.
template <typename Evaluate>
std::string exceptionOf(const Evaluate& evaluate)
{
    try {
        evaluate();
        return "none";
    } catch (const Poco::RegularExpressionException&) {
        return "effort";
    } catch (const Poco::Exception& failure) {
        return std::string(typeid(failure).name()) + " " + failure.displayText();
    }
}

} // namespace Zovi::Fuzz
