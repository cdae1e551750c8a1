#include "RandomDocuments.h"

#include <Poco/URI.h>

#include <cstdint>
#include <limits>
#include <map>
#include <sstream>
#include <vector>

namespace Zovi::Test
{

namespace
{

using namespace std::string_literals;
using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

const std::vector<std::string> NAMES{"id", "name", "uri", "a", "b", "c", "items", "", "x.y"};
/// Some agree in more characters than fit into a number, and go on with a NUL byte or nothing.
const std::vector<std::string> TEXTS{
    "",    "a",    "b",     "ab",       "abc",        "a.b",        "axb",         "A",           "10",
    "9",   "1.5",  "1.50",  "true",     "a\nb",       "abc\n",      "100%",        "a,b",         " a ",
    "\0"s, "a\0"s, "a\0b"s, "/svc/res", "/svc/res/a", "/svc/res/b", "/svc/res\0"s, "/svc/res\xFF"};
const std::vector<std::string> IDS{
    "11111111-1111-1111-1111-111111111111", "22222222-2222-2222-2222-222222222222",
    "aaaaaaaa-aaaa-aaaa-aaaa-aaaaaaaaaaaa", "AAAAAAAA-AAAA-AAAA-AAAA-AAAAAAAAAAAA"};

constexpr std::size_t DISTINCT_IDS = 311;

/// The numbers below `DISTINCT_IDS` give as many ids.
std::string distinctId(std::size_t number)
{
    const std::string digits = std::to_string(number % DISTINCT_IDS);
    return std::string(8 - digits.size(), '0') + digits + "-0000-4000-8000-000000000000";
}

/// The number in one of the types that a service may put into a document, of one signedness each.
Var asNumber(std::size_t type, int value)
{
    switch (type) {
    case 0:
        return static_cast<Poco::Int8>(value);
    case 1:
        return static_cast<Poco::Int16>(value);
    case 2:
        return static_cast<Poco::Int32>(value);
    case 3:
        return Poco::Int64{value} * 1'000'000'000'000;
    case 4:
        return static_cast<Poco::UInt8>(value + 100);
    case 5:
        return static_cast<Poco::UInt16>(value + 100);
    case 6:
        return static_cast<Poco::UInt32>(value + 100);
    case 7:
        return std::numeric_limits<Poco::UInt64>::max() - static_cast<Poco::UInt64>(value + 100);
    case 8:
        return static_cast<float>(value) / 3.0F;
    default:
        return value * 1e300;
    }
}

constexpr std::size_t NUMBER_TYPES = 10;

std::string encoded(const std::string& text)
{
    std::string result;
    Poco::URI::encode(text, "%&=+#?/ ,;$", result);
    return result;
}

class Cloner
{
public:
    Var clone(const Var& value)
    {
        if (value.isEmpty())
            return {};
        if (value.type() == typeid(Object::Ptr))
            return cloneShared(m_objects, value.extract<Object::Ptr>());
        if (value.type() == typeid(Array::Ptr))
            return cloneShared(m_arrays, value.extract<Array::Ptr>());
        if (value.type() == typeid(Object))
            return copy(value.extract<Object>());
        if (value.type() == typeid(Array))
            return copy(value.extract<Array>());
        return value;
    }

    Object copy(const Object& source)
    {
        // Copied first, so that it lists its members in the same order.
        Object target(source);
        for (const auto& [name, value] : source)
            target.set(name, clone(value));
        return target;
    }

    Array copy(const Array& source)
    {
        Array target;
        for (const Var& value : source)
            target.add(clone(value));
        return target;
    }

private:
    template <typename Json>
    Poco::SharedPtr<Json> cloneShared(std::map<const Json*, Poco::SharedPtr<Json>>& known,
                                      const Poco::SharedPtr<Json>& source)
    {
        if (!source)
            return source;
        Poco::SharedPtr<Json>& target = known[source.get()];
        if (!target)
            target = new Json(copy(*source));
        return target;
    }

    std::map<const Object*, Object::Ptr> m_objects;
    std::map<const Array*, Array::Ptr> m_arrays;
};

class SharingMap
{
public:
    template <typename Json>
    static std::string describe(const Json& input, const Json& output)
    {
        SharingMap sharing;
        sharing.walk("", input);
        sharing.m_isOutput = true;
        sharing.walk("", output);
        return sharing.m_text.str();
    }

private:
    void walk(const std::string& path, const Object& object)
    {
        for (const auto& [name, value] : object)
            visit(path + "/" + name, value);
    }

    void walk(const std::string& path, const Array& array)
    {
        for (std::size_t i = 0; i < array.size(); ++i)
            visit(path + "/" + std::to_string(i), array.get(static_cast<unsigned int>(i)));
    }

    void visit(const std::string& path, const Var& value)
    {
        if (value.isEmpty())
            return;
        if (value.type() == typeid(Object::Ptr))
            visitShared(path, value.extract<Object::Ptr>());
        else if (value.type() == typeid(Array::Ptr))
            visitShared(path, value.extract<Array::Ptr>());
        else if (value.type() == typeid(Object))
            walk(path, value.extract<Object>());
        else if (value.type() == typeid(Array))
            walk(path, value.extract<Array>());
    }

    template <typename Json>
    void visitShared(const std::string& path, const Poco::SharedPtr<Json>& pointer)
    {
        if (!pointer)
            return;
        const auto [known, isNew] = m_paths.emplace(pointer.get(), (m_isOutput ? "output" : "input") + path);
        if (m_isOutput && !isNew)
            m_text << path << " = " << known->second << '\n';
        walk(path, *pointer);
    }

    std::map<const void*, std::string> m_paths;
    std::ostringstream m_text;
    bool m_isOutput = false;
};

} // namespace

Array RandomDocuments::mixedCollection()
{
    Array array;
    const std::size_t size = m_random.below(17);
    for (std::size_t i = 0; i < size; ++i) {
        if (m_random.oneIn(12))
            array.add(anyScalar());
        else if (m_random.oneIn(20))
            array.add(Object::Ptr());
        else if (m_random.oneIn(20) && i > 0)
            array.add(array.get(static_cast<unsigned int>(m_random.below(i))));
        else if (m_random.oneIn(5))
            array.add(Object(*mixedObject()));
        else
            array.add(mixedObject());
    }
    return array;
}

Array RandomDocuments::largeMixedCollection()
{
    Array array;
    const std::size_t size = 17 + m_random.below(40);
    for (std::size_t i = 0; i < size; ++i) {
        const Object::Ptr object = mixedObject();
        Object::Ptr(object)->set("id", distinctId(i));
        Object::Ptr(object)->set(SERIAL_NUMBER, static_cast<Poco::Int64>(i));
        array.add(object);
    }
    return array;
}

Array RandomDocuments::uniformCollection()
{
    Array array;
    const std::size_t size = m_random.oneIn(5) ? m_random.below(301) : m_random.below(60);
    const bool hasDistinctIds = m_random.oneIn(2);
    m_numberType = m_random.below(NUMBER_TYPES);
    for (std::size_t i = 0; i < size; ++i) {
        const Object::Ptr object = new Object;
        for (const std::string& name : NAMES) {
            if (!m_random.oneIn(6))
                Object::Ptr(object)->set(name, uniformValue(name));
        }
        if (hasDistinctIds)
            Object::Ptr(object)->set("id", distinctId(i * 37));
        array.add(object);
    }
    return array;
}

Var RandomDocuments::uniformValue(const std::string& name)
{
    if (name == "id")
        return id();
    if (name == "a")
        return asNumber(m_numberType, static_cast<int>(m_random.below(40)) - 20);
    if (name == "b")
        return static_cast<double>(m_random.below(40)) / 4.0;
    if (name == "c")
        return m_random.oneIn(2);
    if (name == "items")
        return anyArray(3);
    return m_random.pick(TEXTS);
}

Object::Ptr RandomDocuments::mixedObject()
{
    return anyObject(0).extract<Object::Ptr>();
}

Var RandomDocuments::anyObject(int depth)
{
    Object::Ptr object = new Object(m_random.oneIn(5) ? Poco::JSON_PRESERVE_KEY_ORDER : 0);
    for (const std::string& name : NAMES) {
        if (depth == 0 ? m_random.oneIn(3) : !m_random.oneIn(3))
            continue;
        if (name == "id" && !m_random.oneIn(5))
            object->set(name, id());
        else
            object->set(name, anyValue(depth + 1));
    }
    return object;
}

Var RandomDocuments::anyArray(int depth)
{
    Array::Ptr array = new Array;
    const std::size_t size = m_random.below(4);
    const bool holdsObjects = m_random.oneIn(2);
    for (std::size_t i = 0; i < size; ++i)
        array->add(holdsObjects && depth < 3 ? anyObject(depth + 1) : anyValue(depth + 1));
    return array;
}

Var RandomDocuments::anyValue(int depth)
{
    if (m_random.oneIn(60))
        return m_random.oneIn(2) ? Var(Array::Ptr()) : Var(Object::Ptr());
    if (depth >= 4 || !m_random.oneIn(4))
        return anyScalar();
    if (m_random.oneIn(2)) {
        const Var object = anyObject(depth);
        return m_random.oneIn(4) ? Var(*object.extract<Object::Ptr>()) : object;
    }
    const Var array = anyArray(depth);
    return m_random.oneIn(4) ? Var(*array.extract<Array::Ptr>()) : array;
}

Var RandomDocuments::anyScalar()
{
    switch (m_random.below(16)) {
    case 0:
        return {};
    case 1:
        return m_random.oneIn(2);
    case 2:
        return std::numeric_limits<Poco::UInt64>::max() - m_random.below(2);
    case 3:
        return std::numeric_limits<Poco::Int64>::min();
    case 4:
        return static_cast<double>(m_random.below(7)) / 2.0;
    case 5:
        return std::numeric_limits<double>::quiet_NaN();
    case 6:
        return 0.0;
    case 7:
    case 8:
    case 9:
        return static_cast<Poco::Int64>(m_random.below(12)) - 2;
    case 10:
        return asNumber(m_random.below(NUMBER_TYPES), static_cast<int>(m_random.below(40)) - 20);
    default:
        return m_random.pick(TEXTS);
    }
}

std::string RandomDocuments::id()
{
    return m_random.oneIn(3) ? distinctId(m_random.below(DISTINCT_IDS)) : m_random.pick(IDS);
}

std::string RandomDocuments::searchAndOrder()
{
    std::string text = "?$sortby=" + encoded(sortList(false));
    if (m_random.oneIn(3))
        text += "&" + encoded(m_random.pick(NAMES)) + "=" + encoded(searchValue());
    if (m_random.oneIn(6))
        text += "&$q=" + encoded(searchValue());
    return text;
}

std::string RandomDocuments::query(bool isUniform)
{
    std::string text;
    while (!m_random.oneIn(3))
        text += (text.empty() ? "?" : "&") + parameter(isUniform);
    return text;
}

std::string RandomDocuments::parameter(bool isUniform)
{
    switch (m_random.below(8)) {
    case 0:
        return "$fields=" + encoded(fieldList());
    case 1:
        return "$sortby=" + encoded(sortList(isUniform));
    case 2:
        return "$limit=" + number();
    case 3:
        return "$offset=" + (m_random.oneIn(3) ? id() : number());
    case 4:
        return "$expand=" + (m_random.oneIn(2) ? number() : encoded(fieldList()));
    case 5:
        return "$q=" + encoded(searchValue());
    default:
        return encoded(m_random.pick(NAMES)) + "=" + encoded(searchValue());
    }
}

std::string RandomDocuments::fieldList()
{
    static const std::vector<std::string> PIECES{"a",
                                                 "b",
                                                 "c",
                                                 "items",
                                                 ",",
                                                 "($offset:1,$limit:2)",
                                                 "($offset:-1,$limit:-2)",
                                                 "id",
                                                 "name",
                                                 "($",
                                                 " ",
                                                 "($offset:0,$limit:0)",
                                                 "($offset:abc,$limit:5)",
                                                 "x.y"};
    std::string text = m_random.pick(PIECES);
    while (!m_random.oneIn(3))
        text += (m_random.oneIn(4) ? "" : ",") + m_random.pick(PIECES);
    return text;
}

std::string RandomDocuments::sortList(bool isUniform)
{
    // Members whose values are arrays have no consistent order: they are sorted by in small collections only.
    static const std::vector<std::string> UNIFORM{"id", "name", "uri", "a", "b", "c", "", "x.y", "absent"};
    std::string text;
    do {
        text += (text.empty() ? "" : ",") + std::string(m_random.oneIn(2) ? "-" : "") +
                m_random.pick(isUniform ? UNIFORM : NAMES);
    } while (!m_random.oneIn(2));
    return text;
}

std::string RandomDocuments::searchValue()
{
    static const std::vector<std::string> PIECES{"%", "a", "b", "%25", ",", " ",  ".",
                                                 "1", "0", "5", "\n",  "x", "\0"s};
    if (m_random.oneIn(3))
        return m_random.pick(TEXTS);
    if (m_random.oneIn(6))
        return id();
    std::string text;
    do {
        text += m_random.pick(PIECES);
    } while (!m_random.oneIn(4));
    return m_random.oneIn(30) ? text + "(" : text;
}

std::string RandomDocuments::number()
{
    static const std::vector<std::string> NUMBERS{
        "0", "1",   "2",           "3",          "4",    "5",     "7",  "-1",   "-2", "-3", "-5",
        "",  "500", "-2147483648", "2147483647", "-500", "1,000", "-,", "abc3", "25", "26", "100"};
    return encoded(m_random.pick(NUMBERS));
}

Array cloneDeep(const Array& array)
{
    return Cloner().copy(array);
}

Object::Ptr cloneDeep(const Object& object)
{
    return new Object(Cloner().copy(object));
}

std::string describeSharing(const Array& input, const Array& output)
{
    return SharingMap::describe(input, output);
}

std::string describeSharing(const Object& input, const Object& output)
{
    return SharingMap::describe(input, output);
}

namespace
{

void describeMembers(const Object& object, std::ostream& out)
{
    for (const std::string& name : object.getNames())
        out << '"' << name << "\":" << describe(object.get(name)) << ' ';
}

void describeElements(const Array& array, std::ostream& out)
{
    for (const Var& value : array)
        out << describe(value) << ' ';
}

} // namespace

std::string describe(const Var& value)
{
    std::ostringstream out;
    if (value.isEmpty())
        return "null";
    if (value.type() == typeid(Object::Ptr)) {
        out << "*{";
        if (const Object::Ptr object = value.extract<Object::Ptr>())
            describeMembers(*object, out);
        else
            out << "nullptr";
        out << '}';
    } else if (value.type() == typeid(Array::Ptr)) {
        out << "*[";
        if (const Array::Ptr array = value.extract<Array::Ptr>())
            describeElements(*array, out);
        else
            out << "nullptr";
        out << ']';
    } else if (value.type() == typeid(Object)) {
        out << '{';
        describeMembers(value.extract<Object>(), out);
        out << '}';
    } else if (value.type() == typeid(Array)) {
        out << '[';
        describeElements(value.extract<Array>(), out);
        out << ']';
    } else {
        out << (value.isString() ? "'" : "") << value.toString() << (value.isString() ? "'" : "");
    }
    return out.str();
}

} // namespace Zovi::Test
