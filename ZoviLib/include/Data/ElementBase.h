#pragma once

#include "Data/XObjectBase.h"
#include "Data/XObjectGeneric.h"
#include "ZoviExport.h"

#include <Poco/SharedPtr.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <string>
#include <vector>

namespace Zovi::Data
{

/// An object inside a resource of a service, addressed by `/<service>/<resource>/<uuid>`.
///
/// The names of service and resource are kept beside the attributes and are set at construction.
class KYRZOVI_API ElementBase : public XObjectBase
{
public:
    /// How elements are shared.
    using Ptr = Poco::SharedPtr<ElementBase>;

    /// An element of `service` and `resource`.
    ElementBase(const std::string& service, const std::string& resource, XObjectId id);
    /// An element with empty names.
    explicit ElementBase(XObjectId id);

    /// These three read the names from a URI, `uri` or that of `other`: its path has exactly three segments,
    /// empty ones not counted, and nothing else of it is looked at. Accepted:
    /// `http://localhost//host/processes/17`. Refused: `/host/processes`. They log an error and throw
    /// `Poco::InvalidArgumentException` otherwise, and what `getUri` throws if `other` has none.
    ElementBase(const Poco::URI& uri, XObjectId id);
    /// Copies the number of `other`.
    explicit ElementBase(const XObjectBase& other);
    /// Takes over the number of `other`, whose attributes stay with it.
    explicit ElementBase(XObjectBase&& other);

    /// Copy, or take over, number and names; the attributes are for the derived class.
    ElementBase(const ElementBase& other);
    ElementBase(ElementBase&& other);
    ElementBase& operator=(const ElementBase& other);
    ElementBase& operator=(ElementBase&& other);

    ~ElementBase() override;

    /// The name of the service that holds the element.
    const std::string& service() const { return m_serviceName; }

    /// The name of the resource that holds the element.
    const std::string& resource() const { return m_resourceName; }

protected:
    /// Sets both names.
    void initialize(const std::string& service, const std::string& resource);

    /// Reads both names from `uri` as the constructors do, and puts the third segment, unchecked, into
    /// `*uuid` unless `uuid` is null. If it throws, names and `*uuid` are as they were.
    void initialize(const Poco::URI& uri, std::string* uuid);

private:
    std::string m_serviceName;
    std::string m_resourceName;
};

/// Elements in the order in which a resource gives them.
using ElementCollection = std::vector<ElementBase::Ptr>;

extern template class GenericObject<ElementBase>;

/// An element ready for use.
///
///     ElementGeneric process("host", "processes", "init", uuid, INVALID_XOBJ_ID);
///     process.setValue<Attribute<AttributeValueInteger>>("pid", 1);
///     process.toJSON(0);
class KYRZOVI_API ElementGeneric : public GenericObject<ElementBase>
{
public:
    /// An element whose URI is made of its parts. Throws what `Poco::URI` throws if they make none, and
    /// `Poco::DataException` if they make one whose path does not contain the UUID.
    ElementGeneric(const std::string& service, const std::string& resource, const std::string& name,
                   const Poco::UUID& uuid, XObjectId objId);

    /// The same with the UUID as text, which must be in lower case: the URI holds it as given, and is checked
    /// against the text that the parsed UUID has. Throws what `Poco::UUID` throws on the text.
    ElementGeneric(const std::string& service, const std::string& resource, const std::string& name,
                   const std::string& uuid, XObjectId objId);

    /// Takes service, resource and UUID from the path of `uri`. The element's URI is rebuilt from those, so
    /// that scheme, host, query and fragment are lost. Throws as `ElementBase` for a path that has not three
    /// segments, and what `Poco::UUID` throws on the third.
    ElementGeneric(const Poco::URI& uri, const std::string& name, XObjectId objId);

    /// Copies number, names and attributes; nothing is shared.
    explicit ElementGeneric(const ElementBase& other);

    /// These copy, or take over, number and attributes of `other` and read the names from its URI; they throw
    /// as `ElementBase` does.
    explicit ElementGeneric(const XObjectGeneric& other);
    explicit ElementGeneric(XObjectGeneric&& other);

    /// Copies number and attributes of `other` by way of a temporary object. If `other` has a number, the log
    /// says at notice level that it is a duplicate, and afterwards it is not recorded.
    explicit ElementGeneric(const XObjectBase& other);

    /// Copy, or take over, number, names and attributes; nothing is shared.
    ElementGeneric(const ElementGeneric& other);
    ElementGeneric(ElementGeneric&& other);
    ElementGeneric& operator=(const ElementGeneric& other);
    ElementGeneric& operator=(ElementGeneric&& other);

    ~ElementGeneric() override;

    /// A copy that shares nothing with this element but the number.
    ElementGeneric copy() const;
};

} // namespace Zovi::Data
