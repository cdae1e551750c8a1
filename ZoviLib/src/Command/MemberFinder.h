#pragma once

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Object.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

namespace Zovi::Command
{

/// Finds one member in object after object, in place; `Object::get` would copy the value.
///
/// The objects of a collection mostly have the same members, so that the place of the last find is tried
/// first, from the nearer end. Where it is not there, the object is asked whether it has the member at all.
/// `name` must outlive the finder.
class MemberFinder
{
public:
    explicit MemberFinder(const std::string& name)
        : m_name(&name)
    {
    }

    /// The value of the member in `object`, a null pointer if there is none. It belongs to the object.
    const Poco::Dynamic::Var* find(const Poco::JSON::Object& object)
    {
        if (m_place < object.size()) {
            const auto guess = at(object, m_place);
            if (guess->first == *m_name)
                return &guess->second;
        }
        return search(object);
    }

private:
    static Poco::JSON::Object::ConstIterator at(const Poco::JSON::Object& object, std::size_t place)
    {
        const std::size_t behind = object.size() - place;
        return place < behind ? std::next(object.begin(), static_cast<std::ptrdiff_t>(place))
                              : std::prev(object.end(), static_cast<std::ptrdiff_t>(behind));
    }

    const Poco::Dynamic::Var* search(const Poco::JSON::Object& object)
    {
        if (!object.has(*m_name))
            return nullptr;
        const auto found = std::find_if(object.begin(), object.end(),
                                        [this](const auto& member) { return member.first == *m_name; });
        m_place = static_cast<std::size_t>(std::distance(object.begin(), found));
        return &found->second;
    }

    const std::string* m_name;
    std::size_t m_place = 0;
};

} // namespace Zovi::Command
