#pragma once

#include "Data/AttributeBase.h"
#include "Data/AttributeContainer.h"
#include "Data/AttributeValueBase.h"
#include "Data/XObjectId.h"
#include "ZoviExport.h"

#include <Poco/JSON/Object.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

namespace Zovi::Data
{

/// The root of every object that can be addressed: service, resource and element.
///
/// An object has two identities. Its number, process-wide, is what its attributes name their owner by. Its
/// UUID, with a name and a URI, is what it is addressed, compared and ordered by; those are attributes, which
/// the derived classes keep.
///
/// ## The number
///
/// A number is given to the constructor and recorded in a process-wide table only when the object is copied,
/// once for each copy. Giving an object a number that is recorded is reported in the log, at notice level,
/// and then done. An object that dies or gives its number away removes every record of it, those of other
/// copies included.
///
/// The table is locked only while a number is chosen or given up. Copying, and giving an object a number,
/// touch it without the lock: a service that does these on several threads must not let two of them run at
/// once, nor one of them while an object with a number ends. Objects without a number that are not copied
/// never touch it.
class KYRZOVI_API XObjectBase
{
public:
    static const std::string KEY_NAME; ///< "name"
    static const std::string KEY_ID;   ///< "id"
    static const std::string KEY_URI;  ///< "uri"

    /// An object with the number `id`; `INVALID_XOBJ_ID` for none.
    explicit XObjectBase(XObjectId id = INVALID_XOBJ_ID);

    /// Both objects have the number then, and it is recorded, even if it is `INVALID_XOBJ_ID`.
    XObjectBase(const XObjectBase& other);
    /// Gives up the own number first. Assigning an object to itself thus leaves it without a number.
    XObjectBase& operator=(const XObjectBase& other);

    /// Takes over the number; `other` has none afterwards.
    XObjectBase(XObjectBase&& other);
    /// Gives up the own number first. Assigning an object to itself leaves it without a number.
    XObjectBase& operator=(XObjectBase&& other);

    virtual ~XObjectBase();

    /// All attributes by name, shared with the object.
    virtual AttributeMap getAttributes() const = 0;
    /// The attribute, shared with the object, or a null pointer.
    virtual AttributeBase::Ptr getAttribute(const std::string& name) const = 0;
    /// True if there is an attribute of that name.
    virtual bool hasValue(const std::string& name) const = 0;
    /// The number of attributes.
    virtual std::size_t size() const = 0;
    /// The value of the attribute, which keeps it, or a null pointer.
    virtual AttributeValueBase* getValue(const std::string& name) const = 0;
    /// These three throw `Poco::InvalidAccessException` if the attribute is not set, or of another type.
    virtual std::string getName() const = 0;
    virtual Poco::UUID getId() const = 0;
    virtual Poco::URI getUri() const = 0;
    /// A new JSON object: "id", "name" and "uri" for a negative level, every attribute that is set for level
    /// 0, with references in their short form, and one more step of references for each step more.
    virtual Poco::JSON::Object::Ptr toJSON(int expandLevel) const = 0;
    /// The same as for level 0, but with those references written out by one step that `fields` names.
    virtual Poco::JSON::Object::Ptr toJSON(const std::vector<std::string>& fields) const = 0;

    /// Orders by name, byte by byte, and objects of one name by UUID. Throws as `getName` and `getId` do.
    virtual bool operator<(const XObjectBase& other) const;
    virtual bool operator>(const XObjectBase& other) const;
    /// Equality of the UUIDs alone: two objects may be equal and yet one less than the other, by its name.
    /// Throws as `getId` does.
    virtual bool operator==(const XObjectBase& other) const;
    virtual bool operator!=(const XObjectBase& other) const;

    /// The number, `INVALID_XOBJ_ID` without one.
    XObjectId id() const { return m_objId; }

    /// True if `attrname` is "id", "name" or "uri". Case counts. Any thread may call this.
    static bool isXObjectAttribute(const std::string& attrname);

protected:
    /// Gives up the own number, if any, and takes `id`, recorded or not.
    void resetId(XObjectId id);

    /// A number that is not recorded, for a derived class to give to the constructor: 0 or more until all of
    /// those are taken, never `INVALID_XOBJ_ID`. It is not recorded by this, so that the next call gives it
    /// again until it is. Throws `Poco::PoolOverflowException` if all numbers are taken. Any thread may call
    /// this.
    static XObjectId selectNextId();

    /// For derived classes to hide by what they set up after construction; does nothing.
    void initialize() {}

    /// The recorded numbers, one entry for each copy that recorded it.
    static std::unordered_multiset<std::int64_t> m_knownIds;
    static std::mutex m_mtxKnownIds;

private:
    XObjectId m_objId;
};

} // namespace Zovi::Data
