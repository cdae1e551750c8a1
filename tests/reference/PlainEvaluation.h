#pragma once

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <string>
#include <vector>

namespace Zovi::Test
{

/// The whole road from the text of a URL to the answer, computed in the plainest way: every object is copied,
/// every value is read again for each comparison, every pattern is a regular expression. It shares no code
/// with the product and is what the product's results are held against.
class PlainEvaluation
{
public:
    /// Parses `url`, whose path must be that of a resource or an element. What the log has to hold is
    /// appended to `log`, which must outlive this. Throws what `Poco::URI` and `Poco::RegularExpression`
    /// throw.
    PlainEvaluation(const std::string& url, std::vector<std::string>& log);
    ~PlainEvaluation();

    /// False if a parameter condemned the request.
    bool isValid() const;

    /// The answer to a request on a collection. `paging` stays as it is unless a page was cut.
    void evaluate(const Poco::JSON::Array& input, Poco::JSON::Array& output, Poco::JSON::Object::Ptr& paging);

    /// The answer to a request on one object.
    void evaluate(const Poco::JSON::Object& input, Poco::JSON::Object& output) const;

private:
    struct Request;
    Poco::SharedPtr<Request> m_request;
    std::vector<std::string>& m_log;
};

} // namespace Zovi::Test
