#pragma once

#include "Data/AttributeValueArray.h"
#include "Data/ServiceBase.h"
#include "Data/XObjectGeneric.h"
#include "ZoviExport.h"

#include <Poco/JSON/Object.h>
#include <Poco/Types.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Zovi
{

/// How one service presents itself to the service registry: identity, port, description, privileges,
/// categories and versions, each an attribute, so that `toJSON` writes them.
///
///     {"description":"b","id":"<uuid>","name":"a","port":8080,"privileges":[],"serviceCategories":[],
///      "uri":"/<uuid>","versions":["1"]}
///
/// It is made without a number. One thread at a time: `getSpecification` writes a cache.
class KYRZOVI_API MicroServiceInfo : public Data::GenericObject<Data::ServiceBase>
{
public:
    /// A description with all eight attributes, the three lists empty. Throws `Poco::DataException` if
    /// `serviceUri` is not empty and its path does not contain the text of `serviceId`.
    MicroServiceInfo(const Poco::UUID& serviceId, const Poco::URI& serviceUri, const std::string& serviceName,
                     Poco::UInt16 servicePort, const std::string& serviceDescription);

    /// Describes `service` as it is now; its number is not taken. "id" and "uri" are left out if `service`
    /// has none. Throws what its getters throw, such as for a missing name.
    explicit MicroServiceInfo(const Data::ServiceBase& service);

    /// Number, attributes and a specification that is already built are copied or taken over.
    MicroServiceInfo(const MicroServiceInfo& other);
    MicroServiceInfo(MicroServiceInfo&& other);
    MicroServiceInfo& operator=(const MicroServiceInfo& other);
    MicroServiceInfo& operator=(MicroServiceInfo&& other);
    ~MicroServiceInfo() override;

    /// A new description read from `json`, which the caller owns; null if `json` is null, and null with an
    /// error in the log if it cannot be read.
    ///
    /// "name", "description" and "port" are required, everything else is optional. Values are converted as
    /// `Poco::Dynamic::Var` does it, so that the text "8080" is a port. Any number of 32 bits without a sign
    /// passes for a port, and "id" and "uri" need not agree. A list whose first entry is no text counts as
    /// empty. Empty lists leave "privileges" and "serviceCategories" unset, but "versions" is set in any
    /// case.
    static MicroServiceInfo* FromJson(const Poco::JSON::Object::Ptr& json);

    /// The texts of `getId` and `getUri`, with their exceptions.
    std::string getIdString() const;
    std::string getUriString() const;

    /// These throw `Poco::InvalidAccessException` if the list is not set. A list that was set as an attribute
    /// of one's own making must be a `Data::AttributeValueStringArray`; that is not checked.
    std::vector<std::string> getPrivileges() const override;
    std::vector<std::string> getServiceCategories() const override;
    std::vector<std::string> getVersions() const override;

    /// The same lists in place, good until they are set again; `getVersionsAttribute` gives a copy.
    const Data::AttributeValueStringArray& getPrivilegesAttribute() const;
    const Data::AttributeValueStringArray& getServiceCategoriesAttribute() const;
    Data::AttributeValueStringArray getVersionsAttribute() const;

    /// The description, empty if it is not set.
    std::string getDescription() const override;

    /// The lower 32 bits of the port. Throws `Poco::InvalidAccessException` if it is not set.
    std::uint32_t getPort() const override;

    /// A text made of name and description at the first call and kept from then on, whatever they become. It
    /// looks like JSON but is none: `{"name": a",description": b",resources": {}}`.
    const std::string& getSpecification() const override;

    /// Always none.
    Data::ResourceCollection getResources() const override;

    /// The setters throw `Poco::InvalidAccessException` if the attribute is there with another class.
    void setDescription(const std::string& description);
    void setPort(std::uint32_t port);
    void setPrivileges(const Data::AttributeValueStringArray& privileges);
    void setPrivileges(Data::AttributeValueStringArray&& privileges);
    void setServiceCategories(const Data::AttributeValueStringArray& categories);
    void setServiceCategories(Data::AttributeValueStringArray&& categories);
    void setVersions(const Data::AttributeValueStringArray& versions);
    void setVersions(Data::AttributeValueStringArray&& versions);

    /// Sets "id" to `newId` and "uri" to "/" and its text.
    void updateServiceId(const Poco::UUID& newId) override;

protected:
    /// A description without attributes.
    explicit MicroServiceInfo(Data::XObjectId id);

    /// Reads `json` as `FromJson` tells. False for a null pointer; what cannot be converted throws, and what
    /// was read before it is then set.
    bool fromJSON(const Poco::JSON::Object::Ptr& json);

private:
    const Data::AttributeValueStringArray& listAttribute(const std::string& key) const;

    mutable std::string m_specification;
};

} // namespace Zovi
