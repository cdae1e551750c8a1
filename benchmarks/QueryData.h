#pragma once

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <cstddef>
#include <string>

namespace Zovi::Benchmark
{

/// What a query ends in.
struct Answer {
    Poco::JSON::Array objects;
    Poco::JSON::Object::Ptr paging;
};

/// The queries that are measured; each way of evaluation answers all of them.
struct Query {
    const char* name;
    std::string (*url)(std::size_t collectionSize);
    Answer (*byHand)(const Poco::JSON::Array& collection, const std::string& url);
};

/// `size` objects of 13 members, in no order; the same ones for the same size.
const Poco::JSON::Array& collectionOf(std::size_t size);

// The ways of evaluation: as the rules read, by the product, and by code written for one query.
Answer answerPlainly(const Poco::JSON::Array& collection, const std::string& url);
Answer answerByProduct(const Poco::JSON::Array& collection, const std::string& url);
Answer defaultPageByHand(const Poco::JSON::Array& collection, const std::string& url);
Answer filteredTopTenByHand(const Poco::JSON::Array& collection, const std::string& url);
Answer freetextByHand(const Poco::JSON::Array& collection, const std::string& url);
Answer deepPageByHand(const Poco::JSON::Array& collection, const std::string& url);

/// The compact text of `objects`, appended to a string without regard to other shapes than those above.
std::string printByHand(const Poco::JSON::Array& objects);

} // namespace Zovi::Benchmark
