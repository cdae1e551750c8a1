#include "QueryData.h"

#include <Poco/Format.h>

#include <map>
#include <random>

namespace Zovi::Benchmark
{

namespace
{

using Poco::JSON::Array;
using Poco::JSON::Object;

Object::Ptr element(std::size_t number, std::mt19937& random)
{
    static const char* const STATES[] = {"running", "sleeping", "idle", "stopped", "zombie"};
    const auto index = static_cast<Poco::UInt32>(number);
    const std::string id = Poco::format("%08x-%04x-4000-8000-%012x", static_cast<unsigned>(random()),
                                        static_cast<unsigned>(random() % 65536), index);
    Object::Ptr object(new Object);
    object->set("id", id)
        .set("name", Poco::format("element %u", index))
        .set("uri", "/service/resource/" + id)
        .set("state", STATES[random() % 5])
        .set("count", static_cast<int>(random() % 1'000'000))
        .set("size", static_cast<Poco::Int64>(random()) * 4096 + index)
        .set("load", static_cast<double>(random() % 100'000) / 64)
        .set("active", random() % 2 == 0)
        .set("owner", random() % 3 == 0 ? "root" : "service")
        .set("description", "some longer text that tells what the element is good for")
        .set("created", Poco::Int64{1'700'000'000'000} + index * 1000)
        .set("group", static_cast<int>(random() % 10))
        .set("note", random() % 200 == 0 ? "a note with abc inside" : "a note without");
    return object;
}

} // namespace

const Array& collectionOf(std::size_t size)
{
    static std::map<std::size_t, Array> collections;
    Array& collection = collections[size];
    std::mt19937 random(20240229);
    while (collection.size() < size)
        collection.add(element(collection.size(), random));
    return collection;
}

} // namespace Zovi::Benchmark
