#pragma once

#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/JSON/Parser.h>

#include <string>

namespace Zovi::Fuzz
{

/// The document that a text holds; an empty value if it holds none.
inline Poco::Dynamic::Var parseDocument(const std::string& text)
{
    try {
        Poco::JSON::Parser parser;
        parser.setDepth(64);
        return parser.parse(text);
    } catch (const Poco::Exception&) {
        return {};
    }
}

/// The object that a text holds, a null pointer if it holds none.
inline Poco::JSON::Object::Ptr parseObject(const std::string& text)
{
    const Poco::Dynamic::Var value = parseDocument(text);
    return value.type() == typeid(Poco::JSON::Object::Ptr) ? value.extract<Poco::JSON::Object::Ptr>()
                                                           : Poco::JSON::Object::Ptr();
}

/// The array that a text holds, a null pointer if it holds none.
inline Poco::JSON::Array::Ptr parseArray(const std::string& text)
{
    const Poco::Dynamic::Var value = parseDocument(text);
    return value.type() == typeid(Poco::JSON::Array::Ptr) ? value.extract<Poco::JSON::Array::Ptr>()
                                                          : Poco::JSON::Array::Ptr();
}

} // namespace Zovi::Fuzz
