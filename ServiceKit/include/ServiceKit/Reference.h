#pragma once

#include "Data/XObjectGeneric.h"

#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <optional>
#include <string>

namespace Zovi::ServiceKit
{

/// The UUID (version 5) of the thing that is called `name` within `space`: the same two always give the same
/// UUID, on every machine. Any thread may call this.
Poco::UUID nameBasedId(const Poco::UUID& space, const std::string& name);

/// The UUID that `text` is, in the form in which one is written; nothing if it is none. `Poco::UUID` takes
/// texts without hyphens, or with something behind, as well.
std::optional<Poco::UUID> parseId(const std::string& text);

/// Who an addressable thing is: what the three fields of a reference object say. A plain value.
struct Reference {
    Poco::UUID id;    ///< what it is told apart by
    std::string name; ///< what people call it
    std::string uri;  ///< the path of its address, "/" for the root

    /// A service of the root, or a resource of a service: its id is made of this one's id and `childName`.
    Reference child(const std::string& childName) const;

    /// An element of the resource that this is. Elements are addressed by their id, not by their name.
    Reference element(const Poco::UUID& elementId, const std::string& elementName) const;

    /// Sets the attributes "id", "name" and "uri" of `object`.
    template <typename B>
    void identify(Data::GenericObject<B>& object) const
    {
        Poco::URI address;
        address.setPath(uri);
        object.setId(id);
        object.setName(name);
        object.setUri(address);
    }
};

/// The root of a tree of services whose ids follow from `rootId`.
Reference rootReference(const Poco::UUID& rootId);

} // namespace Zovi::ServiceKit
