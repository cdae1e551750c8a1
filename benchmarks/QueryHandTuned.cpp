#include "QueryData.h"

#include <Poco/NumberParser.h>
#include <Poco/NumericString.h>
#include <Poco/URI.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>
#include <typeinfo>
#include <vector>

// What one would write for exactly one query on exactly these objects, with nothing but Poco's types: each
// member is read once and by reference, only the page is ordered and copied. It knows the type of every
// member and that no two keys are equal, and checks neither.

namespace Zovi::Benchmark
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

const Var& member(const Object& object, const std::string& name)
{
    auto found = object.begin();
    while (found->first != name)
        ++found;
    return found->second;
}

const Object& objectIn(const Var& element)
{
    return *element.extract<Object::Ptr>();
}

/// The value of a query parameter that is known to be there.
std::string parameter(const Poco::URI::QueryParameters& parameters, std::string_view name)
{
    const auto isNamed = [&](const auto& candidate) {
        return candidate.first == name;
    };
    return std::find_if(parameters.begin(), parameters.end(), isNamed)->second;
}

Object::Ptr describe(const Object& first, int offset, int limit, std::size_t total, const std::string& others)
{
    Object::Ptr paging(new Object);
    const auto size = static_cast<int>(total);
    const auto link = [&](int target) {
        return "/svc/res?$limit=" + std::to_string(limit) + "&$offset=" + std::to_string(target) + others;
    };
    const int front = offset % limit;
    const int end = (size - front) % limit;
    const bool needsOneMore = front > 0 && end > 0 && limit >= front + end;
    paging->set("offsetId", member(first, "id")).set("offset", offset).set("limit", limit);
    paging->set("total", static_cast<unsigned>(total));
    paging->set("totalPages", static_cast<unsigned>((size + limit - 1) / limit + (needsOneMore ? 1 : 0)));
    if (offset > 0)
        paging->set("previous", link(std::max(0, offset - limit)));
    if (offset + limit < size)
        paging->set("next", link(offset + limit));
    return paging;
}

/// The first bytes of a text as a number of the same order.
std::uint64_t prefixOf(const std::string& text)
{
    std::uint64_t prefix = 0;
    std::memcpy(&prefix, text.data(), std::min(text.size(), sizeof prefix));
    return __builtin_bswap64(prefix);
}

struct ById {
    std::uint64_t prefix;
    const std::string* id;
    const Object* object;

    bool operator<(const ById& other) const
    {
        return prefix != other.prefix ? prefix < other.prefix : *id < *other.id;
    }
};

ById keyOf(const Object& object)
{
    const std::string& id = member(object, "id").extract<std::string>();
    return {prefixOf(id), &id, &object};
}

/// The first 25 of `keys` by id.
Answer firstById(std::vector<ById>& keys, const std::string& others)
{
    const std::size_t limit = 25;
    const std::size_t size = std::min(keys.size(), limit);
    std::partial_sort(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(size), keys.end());
    Answer answer;
    for (std::size_t i = 0; i < size; ++i)
        answer.objects.add(Object::Ptr(new Object(*keys[i].object)));
    if (keys.size() > limit)
        answer.paging = describe(*keys.front().object, 0, 25, keys.size(), others);
    return answer;
}

void append(std::string& out, const std::string& text)
{
    out += '"';
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character != '"' && character != '\\' && static_cast<unsigned char>(character) >= 0x20)
            continue;
        out.append(text, begin, i - begin).append(1, '\\').append(1, character);
        begin = i + 1;
    }
    out.append(text, begin, std::string::npos) += '"';
}

template <typename Integer>
void append(std::string& out, Integer value)
{
    std::array<char, 24> digits;
    out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void append(std::string& out, double value)
{
    std::array<char, POCO_MAX_FLT_STRING_LEN> digits;
    Poco::doubleToStr(digits.data(), static_cast<int>(digits.size()), value);
    out += digits.data();
}

void append(std::string& out, const Var& value)
{
    const std::type_info* type = &value.type();
    if (type == &typeid(std::string))
        append(out, value.extract<std::string>());
    else if (type == &typeid(int))
        append(out, value.extract<int>());
    else if (type == &typeid(Poco::Int64))
        append(out, value.extract<Poco::Int64>());
    else if (type == &typeid(bool))
        out += value.extract<bool>() ? "true" : "false";
    else
        append(out, value.extract<double>());
}

} // namespace

Answer defaultPageByHand(const Array& collection, const std::string& url)
{
    const Poco::URI uri(url);
    std::vector<ById> keys;
    keys.reserve(collection.size());
    for (const Var& element : collection)
        keys.push_back(keyOf(objectIn(element)));
    return firstById(keys, "");
}

Answer filteredTopTenByHand(const Array& collection, const std::string& url)
{
    struct BySize {
        Poco::Int64 size;
        const Object* object;
    };
    const Poco::URI::QueryParameters parameters = Poco::URI(url).getQueryParameters();
    const std::string state = parameter(parameters, "state");
    const auto limit = static_cast<std::size_t>(Poco::NumberParser::parse(parameter(parameters, "$limit")));
    std::vector<BySize> keys;
    keys.reserve(collection.size());
    for (const Var& element : collection) {
        const Object& object = objectIn(element);
        if (member(object, "state").extract<std::string>() == state)
            keys.push_back({member(object, "size").extract<Poco::Int64>(), &object});
    }
    const std::size_t size = std::min(keys.size(), limit);
    std::partial_sort(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(size), keys.end(),
                      [](const BySize& a, const BySize& b) { return a.size > b.size; });
    Answer answer;
    for (std::size_t i = 0; i < size; ++i) {
        Object::Ptr row(new Object);
        for (const char* name : {"id", "name", "uri", "size", "state"})
            row->set(name, member(*keys[i].object, name));
        answer.objects.add(row);
    }
    answer.paging = describe(*keys.front().object, 0, static_cast<int>(limit), keys.size(),
                             "&state=" + state + "&$sortby=-size&$fields=name,size,state");
    return answer;
}

Answer freetextByHand(const Array& collection, const std::string& url)
{
    const std::string value = parameter(Poco::URI(url).getQueryParameters(), "$q");
    const std::string text = value.substr(1, value.size() - 2);
    std::vector<ById> keys;
    for (const Var& element : collection) {
        const Object& object = objectIn(element);
        const bool isHit = std::any_of(object.begin(), object.end(), [&](const auto& candidate) {
            return candidate.second.type() == typeid(std::string) &&
                   candidate.second.template extract<std::string>().find(text) != std::string::npos;
        });
        if (isHit)
            keys.push_back(keyOf(object));
    }
    return firstById(keys, "&$q=" + value);
}

Answer deepPageByHand(const Array& collection, const std::string& url)
{
    struct ByGroup {
        int group;
        Poco::Int64 size;
        const Object* object;
    };
    const Poco::URI::QueryParameters parameters = Poco::URI(url).getQueryParameters();
    const int limit = Poco::NumberParser::parse(parameter(parameters, "$limit"));
    const int offset = Poco::NumberParser::parse(parameter(parameters, "$offset"));
    std::vector<ByGroup> keys;
    keys.reserve(collection.size());
    for (const Var& element : collection) {
        const Object& object = objectIn(element);
        keys.push_back(
            {member(object, "group").extract<int>(), member(object, "size").extract<Poco::Int64>(), &object});
    }
    const auto isBefore = [](const ByGroup& a, const ByGroup& b) {
        return a.group != b.group ? a.group < b.group : a.size > b.size;
    };
    const auto begin = keys.begin() + offset;
    const auto end = keys.begin() + std::min(offset + limit, static_cast<int>(keys.size()));
    std::nth_element(keys.begin(), begin, keys.end(), isBefore);
    std::nth_element(begin, end, keys.end(), isBefore);
    std::sort(begin, end, isBefore);
    Answer answer;
    for (auto key = begin; key != end; ++key)
        answer.objects.add(Object::Ptr(new Object(*key->object)));
    answer.paging = describe(*begin->object, offset, limit, keys.size(), "&$sortby=group,-size");
    return answer;
}

std::string printByHand(const Array& objects)
{
    std::string out(1, '[');
    for (const Var& element : objects) {
        out += out.size() > 1 ? ",{" : "{";
        bool isFirst = true;
        for (const auto& [name, value] : objectIn(element)) {
            if (!isFirst)
                out += ',';
            isFirst = false;
            append(out, name);
            out += ':';
            append(out, value);
        }
        out += '}';
    }
    out += ']';
    return out;
}

} // namespace Zovi::Benchmark
