#pragma once

#include "QueryInput.h"
#include "reference/PlainEvaluation.h"
#include "reference/RandomDocuments.h"

#include <Poco/URI.h>

#include <string>
#include <vector>

namespace Zovi::Fuzz
{

/// The address of a collection with a query of one parameter, whatever bytes it is made of.
inline std::string urlWith(const std::string& key, const std::string& value)
{
    Poco::URI url("/service/resource");
    url.addQueryParameter(key, value);
    return url.toString();
}

/// What the plain evaluation makes of `object` for `url`: the exception, or the document and whether the
/// request is a good one.
inline std::string plainAnswer(const std::string& url, const Poco::JSON::Object& object)
{
    std::vector<std::string> log;
    Poco::JSON::Object output;
    bool isValid = false;
    const std::string exception = exceptionOf([&] {
        const Test::PlainEvaluation plain(url, log);
        isValid = plain.isValid();
        plain.evaluate(object, output);
    });
    return exception == "none" ? Test::describe(output) + (isValid ? " valid" : " invalid") : exception;
}

} // namespace Zovi::Fuzz
