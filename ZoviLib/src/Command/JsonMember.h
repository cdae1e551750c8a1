#pragma once

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Object.h>

#include <string>

namespace Zovi::Command
{

/// The value of the member `name` of `object`, a null pointer if there is none. `Object::get` would copy it,
/// which costs an allocation or two.
inline const Poco::Dynamic::Var* findMember(const Poco::JSON::Object& object, const std::string& name)
{
    for (const auto& [key, value] : object) {
        if (key == name)
            return &value;
    }
    return nullptr;
}

} // namespace Zovi::Command
