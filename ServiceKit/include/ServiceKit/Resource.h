#pragma once

#include "Command/HttpRequest.h"
#include "Command/HttpResponse.h"
#include "ServiceKit/Reference.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/UUID.h>

#include <bitset>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// A set of HTTP methods. A plain value.
class MethodSet
{
public:
    using Method = Command::HttpRequest::RequestType;

    MethodSet(std::initializer_list<Method> methods);

    /// GET and HEAD.
    static MethodSet readOnly();

    bool contains(Method method) const { return m_methods.test(static_cast<std::size_t>(method)); }

    /// The names in the fixed order GET, HEAD, POST, PUT, DELETE.
    std::vector<std::string> names() const;

    /// The same as the value of an "Allow" header: "GET, HEAD".
    std::string toHeader() const;

private:
    std::bitset<Method::DELETE + 1> m_methods;
};

/// A collection of elements that a service offers; a service derives from it.
///
/// Every operation may be called by several threads at once. What is handed out as JSON is new on each call
/// and shares nothing with what was handed out before: the receiver cuts, adds and prints it on its own
/// thread. An operation may throw: `RequestError` becomes its own answer, anything else a logged status 500.
class Resource
{
public:
    virtual ~Resource();
    Resource(const Resource&) = delete;
    Resource& operator=(const Resource&) = delete;

    /// Id, name and address of the resource.
    const Reference& reference() const { return m_reference; }

    /// One sentence that tells what its elements are.
    const std::string& description() const { return m_description; }

    /// Names each attribute of an element with its type and unit; see `makeSpecification`.
    virtual Poco::JSON::Object::Ptr specification() const = 0;

    /// All elements, each an object that has at least the three fields of a reference. Never null.
    virtual Poco::JSON::Array::Ptr elements() const = 0;

    /// The element whose "id" is `id`, a null pointer if there is none.
    virtual Poco::JSON::Object::Ptr element(const Poco::UUID& id) const = 0;

    /// What may be done to the collection and to an element. GET and HEAD if not overridden.
    virtual MethodSet collectionMethods() const;
    virtual MethodSet elementMethods() const;

    /// Carries out a POST, PUT or DELETE that one of the two sets above allows; the body has been read. Must
    /// be overridden where a set allows one: called on a resource that only offers to be read, it throws
    /// `RequestError` with status 501.
    virtual Command::HttpResponse write(const Command::HttpRequest& request);

protected:
    /// `reference` is as a rule the `child` of the service's.
    Resource(const Reference& reference, const std::string& description);

private:
    Reference m_reference;
    std::string m_description;
};

} // namespace Zovi::ServiceKit
