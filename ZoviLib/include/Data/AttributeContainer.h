#pragma once

#include "Data/AttributeBase.h"
#include "Data/AttributeValueBase.h"
#include "Data/XObjectId.h"
#include "ZoviExport.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Object.h>

#include <cstddef>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Data
{

/// Attributes by name, ordered byte by byte.
using AttributeMap = std::map<std::string, AttributeBase::Ptr>;

// clang-format off
/// The attributes of one object.
///
/// It keeps two promises: every attribute in it belongs to the owner given at construction, and a name keeps
/// the type of its value. Attributes are shared: copying a container shares every attribute with the source,
/// so that a value changed through one is seen through the other, while `deepCopy` shares nothing.
///
/// |                     | entry absent                 | null entry             | empty attribute          | value of another type            |
/// | ------------------- | ---------------------------- | ---------------------- | ------------------------ | -------------------------------- |
/// | `getAttribute`      | null                         | null                   | the attribute            | the attribute                    |
/// | `getValue(name)`    | null                         | `NullPointerException` | null                     | the value                        |
/// | `getValue<C>(name)` | `InvalidAccessException`     | `NullPointerException` | `InvalidAccessException` | `InvalidAccessException`         |
/// | `setValue<V>`       | stores                       | stores                 | sets                     | `InvalidAccessException`         |
/// | `setAttribute`      | stores a copy, or takes over | stores a copy          | see there                | false, and an error in the log   |
/// | `deepCopy`          |                              | `NullPointerException` | `InvalidAccessException` | copies                           |
/// | `toJSON`            |                              | `BugcheckException`    | leaves it out            |                                  |
///
/// The exceptions are Poco's. Null entries come in only by way of `begin` and `end`. Nothing is locked.
// clang-format on
class KYRZOVI_API AttributeContainer
{
public:
    /// An empty container for the object with the number `parent`.
    explicit AttributeContainer(XObjectId parent);

    /// Takes over `values`, whose keys stay as they are, even if an attribute has another name.
    ///
    /// An attribute of another owner is replaced by a copy for `parent`, with a warning in the log; other
    /// holders keep the old one. A null entry is dropped, but the second of two in a row raises
    /// `Poco::NullPointerException`. `values` is empty afterwards in any case.
    AttributeContainer(XObjectId parent, AttributeMap&& values);

    /// A container for the same owner, or for `parent`, with a copy of each attribute under the same key.
    /// Throws `Poco::NullPointerException` for a null entry, `Poco::InvalidAccessException` for an empty
    /// attribute.
    static AttributeContainer deepCopy(const AttributeContainer& other);
    static AttributeContainer deepCopy(XObjectId parent, const AttributeMap& attrMap);

    /// The number of the owner, fixed at construction.
    XObjectId parent() const { return m_parentId; }

    /// The number of entries.
    std::size_t size() const { return m_attrMap.size(); }

    /// True if there is an entry, even one with an empty attribute.
    bool contains(const std::string& name) const;

    /// All entries, in the order of their names.
    const AttributeMap& getAttributes() const { return m_attrMap; }

    /// The entries, to walk over; an entry that is changed this way is not checked.
    AttributeMap::iterator begin() { return m_attrMap.begin(); }
    AttributeMap::iterator end() { return m_attrMap.end(); }
    AttributeMap::const_iterator begin() const { return m_attrMap.begin(); }
    AttributeMap::const_iterator end() const { return m_attrMap.end(); }

    /// The attribute itself, shared, or a null pointer.
    AttributeBase::Ptr getAttribute(const std::string& name) const;

    /// The value, open to change; the attribute keeps it. Null if the name is absent or the attribute empty,
    /// `Poco::NullPointerException` if the entry is null.
    AttributeValueBase* getValue(const std::string& name) const;

    /// The value as the class `C`, good until the attribute changes. Throws `Poco::InvalidAccessException` if
    /// there is none, or if it is no `C`.
    template <typename C>
    const C& getValue(const std::string& name) const
    {
        const AttributeValueBase* base = getValue(name);
        if (!base)
            throw Poco::InvalidAccessException("Attribute " + name + " is not set");
        const C* value = base->convert<C>();
        if (!value)
            throwTypeConflict(name);
        return *value;
    }

    /// Removes all entries.
    void clear() { m_attrMap.clear(); }

    /// Removes the entry; an absent name is no error.
    void removeValue(const std::string& name) { m_attrMap.erase(name); }

    /// Sets the attribute of that name to the value of `attr`; `attr` itself is never stored.
    ///
    /// An existing attribute takes over the value alone, which every holder of it sees; a name without one
    /// gets a copy of `attr` for this owner. An empty `attr` removes the entry. If the value types differ, an
    /// error is logged and the result is false, with everything as it was. An existing attribute that is
    /// empty is a mistake of the caller and raises `Poco::NullPointerException`.
    bool setAttribute(const AttributeBase& attr);

    /// Takes over `attr` without a copy if it is not empty, belongs to this owner and has a new name; in
    /// every other case as above. `attr` is null after true and as it was after false. False for a null
    /// pointer.
    bool setAttribute(AttributeBase::Ptr&& attr);

    /// Sets the value of the attribute `name`, which is made if there is none. Throws
    /// `Poco::InvalidAccessException` if there is one that is no `Attribute` of this value class.
    template <typename V>
    void setValue(const std::string& name, V&& value)
    {
        using Value = std::decay_t<V>;
        const auto entry = m_attrMap.find(name);
        if (entry == m_attrMap.end() || !entry->second) {
            AttributeBase::Ptr created = new Attribute<Value>(m_parentId, name, std::forward<V>(value));
            m_attrMap[name] = std::move(created);
            return;
        }
        auto* attribute = dynamic_cast<Attribute<Value>*>(entry->second.get());
        if (!attribute)
            throwTypeConflict(name);
        attribute->setValue(std::forward<V>(value));
    }

    /// A new JSON object. A negative level gives the short form, exactly "id", "name" and "uri", and throws
    /// as `getValue<C>` does if one is missing. Level 0 gives every attribute that is set under its key, with
    /// references in their short form, and each step more writes out one more step of references. Throws
    /// `Poco::BugcheckException` for a null entry.
    Poco::JSON::Object::Ptr toJSON(int expandLevel) const;

    /// The same with every attribute that is set, named in `fields` or not: the list says which references
    /// are written out by one step, all others show in their short form.
    Poco::JSON::Object::Ptr toJSON(const std::vector<std::string>& fields) const;

private:
    [[noreturn]] static void throwTypeConflict(const std::string& name);

    AttributeMap m_attrMap;
    XObjectId m_parentId;
};

} // namespace Zovi::Data
