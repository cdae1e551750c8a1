#pragma once

#include "Command/HttpRequest.h"
#include "Command/HttpResponse.h"
#include "Data/ElementBase.h"
#include "Data/XObjectGeneric.h"
#include "ServiceKit/Reference.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Specification.h"

#include <Poco/JSON/Object.h>
#include <Poco/SharedPtr.h>
#include <Poco/UUID.h>

#include <bitset>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// A set of HTTP methods. A plain value.
class MethodSet
{
public:
    /// A method as a request tells it.
    using Method = Command::HttpRequest::RequestType;

    /// The set of `methods`.
    MethodSet(std::initializer_list<Method> methods);

    /// GET and HEAD.
    static MethodSet readOnly();

    /// True if `method` is in the set.
    bool contains(Method method) const { return m_methods.test(static_cast<std::size_t>(method)); }

    /// The names in the fixed order GET, HEAD, POST, PUT, DELETE.
    std::vector<std::string> names() const;

    /// The same as the value of an "Allow" header: "GET, HEAD".
    std::string toHeader() const;

private:
    std::bitset<Method::DELETE + 1> m_methods;
};

class Resource;

/// Whoever wants to hear when a resource has changed.
class ChangeListener
{
public:
    virtual ~ChangeListener();

    /// Called by the thread that has made the change. It must return soon, must not throw, and must not ask
    /// the resource.
    virtual void onChanged(const Resource& resource) = 0;

protected:
    ChangeListener() = default;
    ChangeListener(const ChangeListener&) = default;
    ChangeListener& operator=(const ChangeListener&) = default;
};

/// A collection of elements that a service offers; a service derives from it.
///
///     Data::ElementCollection Books::elements() const
///     {
///         Data::ElementCollection books;
///         for (const Book& book : BOOKS) {
///             auto element = makeElement(idOf(book.title), book.title);
///             element->setValue<Integer>("pages", book.pages);
///             books.push_back(element);
///         }
///         return books;
///     }
///
/// Every operation may be called by several threads at once. What is handed out is new on each call and is
/// never copied: the receiver renders it, by the `toJSON` of the model, on its own thread and as deep as the
/// request asks. So a reference to another object may find out what it refers to only when it is rendered,
/// and for that it may ask the resource: what was handed out does not outlive it. An operation may throw:
/// `RequestError` becomes its own answer, anything else a logged status 500.
class Resource
{
public:
    /// `reference` is as a rule the `child` of the service's. `attributes` are those that an element has
    /// beside the three of a reference; whoever overrides `specification` needs none.
    Resource(const Reference& reference, const std::string& description,
             const std::vector<AttributeSpecification>& attributes = {});

    virtual ~Resource();
    Resource(const Resource&) = delete;
    Resource& operator=(const Resource&) = delete;

    /// Id, name and address of the resource.
    const Reference& reference() const { return m_reference; }

    /// One sentence that tells what its elements are.
    const std::string& description() const { return m_description; }

    /// The resource itself as an object of the model, with the attributes of a reference and "description".
    const Data::XObjectGeneric& object() const { return m_object; }

    /// Names each attribute of an element with its type and unit. What `makeSpecification` makes of the
    /// attributes that the constructor was given, if not overridden.
    virtual Poco::JSON::Object::Ptr specification() const;

    /// All elements, none of them null; each has at least the three attributes of a reference.
    ///
    /// Whatever they hold, an answer is JSON in UTF-8: numbers that JSON does not have are left out, and
    /// bytes that are no part of valid UTF-8 become U+FFFD.
    ///
    /// An attribute that has nothing to say is left unset. One that renders as an empty value, as a reference
    /// to nobody does, makes a search or a sort that comes upon it fail, which is answered by status 500.
    virtual Data::ElementCollection elements() const = 0;

    /// The element whose "id" is `id`, a null pointer if there is none. Looked for among all of them if not
    /// overridden, and so not to be called under a lock that `elements` takes; whoever finds one faster
    /// overrides it.
    virtual Data::ElementBase::Ptr element(const Poco::UUID& id) const;

    /// What may be done to the collection and to an element. GET and HEAD if not overridden.
    virtual MethodSet collectionMethods() const;
    virtual MethodSet elementMethods() const;

    /// Carries out a POST, PUT or DELETE that one of the two sets above allows; the body has been read. Must
    /// be overridden where a set allows one: called on a resource that only offers to be read, it throws
    /// `RequestError` with status 501.
    virtual Command::HttpResponse write(const Command::HttpRequest& request);

    /// Whether `notifyChanged` is called after every change. Whoever follows such a resource hears of a
    /// change at once; all others are asked again and again. False if not overridden.
    virtual bool tellsOfChanges() const;

    /// From now on `listener` is told of changes, until nobody else holds it any more.
    void addChangeListener(const std::weak_ptr<ChangeListener>& listener);

    /// The id of the element that `path` addresses. The address takes more for a UUID than is written as one:
    /// a text without hyphens or with something behind it. No element has such an id, so `absence` is thrown.
    Poco::UUID elementId(const Command::UrlPath& path) const;

    /// The refusal of a request for an element that is not there: status 404.
    RequestError absence(const Command::UrlPath& path) const;

    /// The id of an element that can be told apart from the others by `key`. It follows from `key` and the
    /// resource, and so is the same after each start of the program.
    Poco::UUID idOf(const std::string& key) const;

    /// A new element of this resource with "id", "name" and "uri", for the caller to add to. A name that is
    /// no UTF-8 is made valid.
    Poco::SharedPtr<Data::ElementGeneric> makeElement(const Poco::UUID& id, const std::string& name) const;

protected:
    /// To be called after a change, when the next reader would see it; by any thread, which holds no lock of
    /// the resource's, at any time. Holds no lock itself while it tells the listeners.
    void notifyChanged() const;

private:
    Reference m_reference;
    std::string m_description;
    std::vector<AttributeSpecification> m_attributes;
    Data::XObjectGeneric m_object;
    mutable std::mutex m_listenerMutex;
    std::vector<std::weak_ptr<ChangeListener>> m_listeners;
};

} // namespace Zovi::ServiceKit
