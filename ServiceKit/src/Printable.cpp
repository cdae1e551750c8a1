#include "Printable.h"

#include "ServiceKit/Text.h"
#include "Utf8.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/SharedPtr.h>

#include <cmath>
#include <string>
#include <typeinfo>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

bool isNumberOfJson(const Var& value)
{
    return !value.isNumeric() || value.isInteger() || std::isfinite(value.convert<double>());
}

bool isValidUtf8(const std::string& text)
{
    Utf8Validator validator;
    validator.accept(text);
    return validator.isComplete();
}

/// What is shared is mended where it is.
template <typename Container>
void mendShared(Poco::SharedPtr<Container> container)
{
    if (container)
        makePrintable(*container);
}

template <typename Container>
Var mendedCopy(Container container)
{
    makePrintable(container);
    return container;
}

/// False if `value` may stay as it is; else `replacement` is to stand in its place.
bool mustBeReplaced(const Var& value, Var& replacement)
{
    const std::type_info& type = value.type();
    if (type == typeid(std::string) && !isValidUtf8(value.extract<std::string>()))
        replacement = toValidUtf8(value.extract<std::string>());
    else if (type == typeid(Object))
        replacement = mendedCopy(value.extract<Object>());
    else if (type == typeid(Array))
        replacement = mendedCopy(value.extract<Array>());
    else if (type == typeid(Object::Ptr))
        mendShared(value.extract<Object::Ptr>());
    else if (type == typeid(Array::Ptr))
        mendShared(value.extract<Array::Ptr>());
    return !replacement.isEmpty();
}

} // namespace

void makePrintable(Object& object)
{
    std::vector<std::string> leftOut;
    for (auto& [name, value] : object) {
        Var replacement;
        if (!isNumberOfJson(value))
            leftOut.push_back(name);
        else if (mustBeReplaced(value, replacement))
            value.swap(replacement);
    }
    for (const std::string& name : leftOut)
        object.remove(name);
}

void makePrintable(Array& array)
{
    for (auto i = static_cast<unsigned int>(array.size()); i-- > 0;) {
        const Var value = array.get(i);
        Var replacement;
        if (!isNumberOfJson(value))
            array.remove(i);
        else if (mustBeReplaced(value, replacement))
            array.set(i, replacement);
    }
}

} // namespace Zovi::ServiceKit
