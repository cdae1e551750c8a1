#pragma once

#include "RandomSource.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <cstddef>
#include <string>

namespace Zovi::Test
{

/// Makes documents and queries at random, chosen to meet the corners of the evaluation.
class RandomDocuments
{
public:
    static constexpr const char* SERIAL_NUMBER = "serial";

    explicit RandomDocuments(RandomSource& random)
        : m_random(random)
    {
    }

    /// A collection of up to 16 objects in which any member may hold anything: text, numbers of all kinds,
    /// null, objects and arrays by pointer and by value, nested and shared ones, some that keep the order of
    /// insertion; and between the objects elements that are none.
    Poco::JSON::Array mixedCollection();

    /// A collection of more than 16 such objects and nothing else. Each has an id and tells its place by a
    /// member `SERIAL_NUMBER`, by which no query asks.
    Poco::JSON::Array largeMixedCollection();

    /// A collection of up to 300 objects whose members hold one kind of value each, or are missing. In half
    /// of them no two objects have the same id.
    Poco::JSON::Array uniformCollection();

    /// An object as in `mixedCollection`.
    Poco::JSON::Object::Ptr mixedObject();

    /// The text of a query, with the question mark in front unless it is empty. `isUniform` says for which
    /// kind of collection.
    std::string query(bool isUniform);

    /// The text of a query that sorts, and may search, but cuts no page.
    std::string searchAndOrder();

private:
    Poco::Dynamic::Var anyValue(int depth);
    Poco::Dynamic::Var anyScalar();
    Poco::Dynamic::Var uniformValue(const std::string& name);
    Poco::Dynamic::Var anyObject(int depth);
    Poco::Dynamic::Var anyArray(int depth);
    std::string id();
    std::string parameter(bool isUniform);
    std::string fieldList();
    std::string sortList(bool isUniform);
    std::string searchValue();
    std::string number();

    RandomSource& m_random;
    std::size_t m_numberType = 0;
};

/// A copy of `array` that shares nothing with it and in which what was shared is shared as before.
Poco::JSON::Array cloneDeep(const Poco::JSON::Array& array);
Poco::JSON::Object::Ptr cloneDeep(const Poco::JSON::Object& object);

/// Says where in `output` values stand that are shared with `input`, as lines "path = path".
std::string describeSharing(const Poco::JSON::Array& input, const Poco::JSON::Array& output);
std::string describeSharing(const Poco::JSON::Object& input, const Poco::JSON::Object& output);

/// The text of a document, members in the order of printing, in which also what JSON cannot show is told
/// apart: null pointers, and how values are held.
std::string describe(const Poco::Dynamic::Var& value);

} // namespace Zovi::Test
