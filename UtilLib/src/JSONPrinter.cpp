#include "JSONPrinter.h"

#include "AccessibleStringStream.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Stringifier.h>
#include <Poco/JSONString.h>
#include <Poco/NumericString.h>

#include <array>
#include <charconv>
#include <cstring>
#include <deque>
#include <ostream>
#include <sstream>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace Zovi::Util
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

// Whether an object keeps the insertion order of its members, and which it is, cannot be asked without a copy
// of all names. An explicit instantiation may name the private members that know it.
using KeyOrder = std::deque<Object::ValueMap::const_iterator>;

template <auto values, auto keys, auto preservesOrder>
struct ObjectAccess {
    friend const Object::ValueMap& valuesOf(const Object& object) { return object.*values; }
    friend const KeyOrder& keyOrderOf(const Object& object) { return object.*keys; }
    friend bool keepsInsertionOrder(const Object& object) { return object.*preservesOrder; }
};

const Object::ValueMap& valuesOf(const Object& object);
const KeyOrder& keyOrderOf(const Object& object);
bool keepsInsertionOrder(const Object& object);

template struct ObjectAccess<&Object::_values, &Object::_keys, &Object::_preserveInsOrder>;

/// Collects text and hands it to a stream in pieces.
class Output
{
public:
    explicit Output(std::ostream& out)
        : m_out(out)
    {
    }

    void put(char character)
    {
        reserve(1);
        m_buffer[m_used++] = character;
    }

    void put(std::string_view text)
    {
        while (text.size() > CAPACITY - m_used) {
            const std::size_t fitting = CAPACITY - m_used;
            append(text.data(), fitting);
            text.remove_prefix(fitting);
            flush();
        }
        append(text.data(), text.size());
    }

    /// The next `size` characters, to be written in place and then taken by `advanceTo`. `size` is small.
    char* reserve(std::size_t size)
    {
        if (size > CAPACITY - m_used)
            flush();
        return m_buffer.data() + m_used;
    }

    void advanceTo(const char* end) { m_used = static_cast<std::size_t>(end - m_buffer.data()); }

    void flush()
    {
        const std::size_t size = std::exchange(m_used, 0);
        std::size_t begin = 0;
        // A width set on the stream pads the first character, as it does when Poco prints.
        if (size > 0 && m_out.width() != 0)
            m_out << m_buffer[begin++];
        m_out.write(m_buffer.data() + begin, static_cast<std::streamsize>(size - begin));
    }

private:
    static constexpr std::size_t CAPACITY = 4096;

    void append(const char* text, std::size_t size)
    {
        std::memcpy(m_buffer.data() + m_used, text, size);
        m_used += size;
    }

    std::ostream& m_out;
    std::size_t m_used = 0;
    std::array<char, CAPACITY> m_buffer;
};

/// How each character stands in a JSON text; empty for those that stand there as they are.
class Escapes
{
public:
    Escapes()
    {
        for (std::size_t code = 0; code < m_texts.size(); ++code) {
            const std::string character(1, static_cast<char>(code));
            const std::string text = Poco::toJSON(character, 0);
            if (text != character)
                m_texts[code] = text;
            m_isEscaped[code] = text != character;
        }
    }

    bool isEscaped(char character) const { return m_isEscaped[static_cast<unsigned char>(character)]; }
    const std::string& textOf(char character) const { return m_texts[static_cast<unsigned char>(character)]; }

    static const Escapes& instance()
    {
        static const Escapes escapes;
        return escapes;
    }

private:
    std::array<bool, 256> m_isEscaped{};
    std::array<std::string, 256> m_texts;
};

class Printer
{
public:
    Printer(Output& out, bool escapesUnicode)
        : m_out(out)
        , m_escapes(Escapes::instance())
        , m_escapesUnicode(escapesUnicode)
    {
    }

    void print(const Object& object)
    {
        m_out.put('{');
        if (keepsInsertionOrder(object))
            printInInsertionOrder(object);
        else
            printByName(object);
        m_out.put('}');
    }

    void print(const Array& array)
    {
        m_out.put('[');
        bool isFirst = true;
        for (const Var& element : array) {
            if (!std::exchange(isFirst, false))
                m_out.put(',');
            print(element);
        }
        m_out.put(']');
    }

private:
    void printByName(const Object& object)
    {
        bool isFirst = true;
        for (const auto& member : object) {
            if (!std::exchange(isFirst, false))
                m_out.put(',');
            print(member);
        }
    }

    void printInInsertionOrder(const Object& object)
    {
        bool isFirst = true;
        for (const auto& member : keyOrderOf(object)) {
            if (!std::exchange(isFirst, false))
                m_out.put(',');
            requireMember(object, member);
            print(*member);
        }
    }

    /// An object that was assigned from another still lists the members of that one.
    static void requireMember(const Object& object, Object::ValueMap::const_iterator member)
    {
        if (valuesOf(object).find(member->first) != member)
            throw Poco::NotFoundException(member->first);
    }

    void print(const Object::ValueType& member)
    {
        print(member.first);
        m_out.put(':');
        print(member.second);
    }

    // Scalars are told apart by the address of their type information, which is unique in a process and costs
    // one comparison each. Documents are not: each library has its own type information of their pointers.
    void print(const Var& value)
    {
        const std::type_info* const type = &value.type();
        if (type == &typeid(std::string))
            print(value.extract<std::string>());
        else if (type == &typeid(Poco::Int64))
            printInteger<Poco::Int64>(value);
        else if (type == &typeid(Poco::Int32))
            printInteger<Poco::Int32>(value);
        else if (type == &typeid(Poco::UInt64))
            printInteger<Poco::UInt64>(value);
        else if (type == &typeid(Poco::UInt32))
            printInteger<Poco::UInt32>(value);
        else if (type == &typeid(bool))
            m_out.put(value.extract<bool>() ? std::string_view("true") : std::string_view("false"));
        else if (type == &typeid(double))
            printDouble(value.extract<double>());
        else if (*type == typeid(Object::Ptr))
            print(*value.extract<Object::Ptr>());
        else if (*type == typeid(Array::Ptr))
            print(*value.extract<Array::Ptr>());
        else if (*type == typeid(Object))
            print(value.extract<Object>());
        else if (*type == typeid(Array))
            print(value.extract<Array>());
        else
            printByPoco(value);
    }

    void print(const std::string& text)
    {
        if (m_escapesUnicode) {
            m_out.put(Poco::toJSON(text, Poco::JSON_WRAP_STRINGS | Poco::JSON_ESCAPE_UNICODE));
            return;
        }
        m_out.put('"');
        const char* const end = text.data() + text.size();
        for (const char* begin = text.data();;) {
            const char* plainEnd = begin;
            while (plainEnd != end && !m_escapes.isEscaped(*plainEnd))
                ++plainEnd;
            m_out.put(std::string_view(begin, static_cast<std::size_t>(plainEnd - begin)));
            if (plainEnd == end)
                break;
            m_out.put(m_escapes.textOf(*plainEnd));
            begin = plainEnd + 1;
        }
        m_out.put('"');
    }

    template <typename Integer>
    void printInteger(const Var& value)
    {
        constexpr std::size_t MAX_DIGITS = 20;
        char* const begin = m_out.reserve(MAX_DIGITS);
        m_out.advanceTo(std::to_chars(begin, begin + MAX_DIGITS, value.extract<Integer>()).ptr);
    }

    void printDouble(double value)
    {
        std::array<char, POCO_MAX_FLT_STRING_LEN> text;
        Poco::doubleToStr(text.data(), static_cast<int>(text.size()), value);
        m_out.put(std::string_view(text.data()));
    }

    void printByPoco(const Var& value)
    {
        std::ostringstream text;
        text.exceptions(std::ios::badbit); // or it cuts the text where memory runs out
        const int unicode = m_escapesUnicode ? Poco::JSON_ESCAPE_UNICODE : 0;
        Poco::JSON::Stringifier::stringify(value, text, 0, -1, Poco::JSON_WRAP_STRINGS | unicode);
        m_out.put(text.str());
    }

    Output& m_out;
    const Escapes& m_escapes;
    const bool m_escapesUnicode;
};

template <typename Json>
void printTo(std::ostream& out, const Json& json)
{
    Output output(out);
    try {
        Printer(output, json.getEscapeUnicode()).print(json);
    } catch (...) {
        output.flush();
        throw;
    }
    output.flush();
}

template <typename Json>
std::string textOf(const Json& json)
{
    AccessibleStringStream text;
    text.exceptions(std::ios::badbit);
    printTo(text, json);
    return std::string(text.getBuffer(), text.size());
}

} // namespace

void JSONPrinter::print(const Object& object, std::ostream& out)
{
    printTo(out, object);
}

void JSONPrinter::print(const Array& array, std::ostream& out)
{
    printTo(out, array);
}

std::string JSONPrinter::toString(const Object& object)
{
    return textOf(object);
}

std::string JSONPrinter::toString(const Array& array)
{
    return textOf(array);
}

} // namespace Zovi::Util
