#include "ServiceKit/Resource.h"

#include "Data/ResourceBase.h"
#include "ServiceKit/Text.h"

#include <Poco/Net/HTTPRequest.h>

#include <algorithm>
#include <utility>

namespace Zovi::ServiceKit
{

MethodSet::MethodSet(std::initializer_list<Method> methods)
{
    for (Method method : methods)
        m_methods.set(static_cast<std::size_t>(method));
}

MethodSet MethodSet::readOnly()
{
    return {Method::GET, Method::HEAD};
}

std::vector<std::string> MethodSet::names() const
{
    static const std::pair<Method, std::string> NAMES[] = {
        {Method::GET, Poco::Net::HTTPRequest::HTTP_GET},
        {Method::HEAD, Poco::Net::HTTPRequest::HTTP_HEAD},
        {Method::POST, Poco::Net::HTTPRequest::HTTP_POST},
        {Method::PUT, Poco::Net::HTTPRequest::HTTP_PUT},
        {Method::DELETE, Poco::Net::HTTPRequest::HTTP_DELETE},
    };
    std::vector<std::string> names;
    for (const auto& [method, name] : NAMES) {
        if (contains(method))
            names.push_back(name);
    }
    return names;
}

std::string MethodSet::toHeader() const
{
    std::string header;
    for (const std::string& name : names())
        header += (header.empty() ? "" : ", ") + name;
    return header;
}

ChangeListener::~ChangeListener() = default;

Resource::Resource(const Reference& reference, const std::string& description,
                   const std::vector<AttributeSpecification>& attributes)
    : m_reference(reference)
    , m_description(description)
    , m_attributes(attributes)
    , m_object(Data::INVALID_XOBJ_ID)
{
    reference.identify(m_object);
    m_object.setValue<Data::AttributeValueStringable<std::string>>(Data::ResourceBase::KEY_DESCRIPTION,
                                                                   description);
}

Resource::~Resource() = default;

Poco::JSON::Object::Ptr Resource::specification() const
{
    return makeSpecification(m_reference.name, m_description, m_attributes);
}

Data::ElementBase::Ptr Resource::element(const Poco::UUID& id) const
{
    for (const Data::ElementBase::Ptr& candidate : elements()) {
        if (candidate->getId() == id)
            return candidate;
    }
    return {};
}

MethodSet Resource::collectionMethods() const
{
    return MethodSet::readOnly();
}

MethodSet Resource::elementMethods() const
{
    return MethodSet::readOnly();
}

Command::HttpResponse Resource::write(const Command::HttpRequest&)
{
    throw RequestError(Command::HTTPStatus::HTTP_NOT_IMPLEMENTED, "");
}

Poco::UUID Resource::elementId(const Command::UrlPath& path) const
{
    const std::optional<Poco::UUID> id = parseId(path.getElement());
    if (!id)
        throw absence(path);
    return *id;
}

RequestError Resource::absence(const Command::UrlPath& path) const
{
    return {Command::HTTPStatus::HTTP_NOT_FOUND,
            m_reference.uri + " has no element " + inQuotes(path.getElement())};
}

Poco::UUID Resource::idOf(const std::string& key) const
{
    return nameBasedId(m_reference.id, key);
}

Poco::SharedPtr<Data::ElementGeneric> Resource::makeElement(const Poco::UUID& id,
                                                            const std::string& name) const
{
    return new Data::ElementGeneric(Poco::URI(m_reference.element(id, name).uri), toValidUtf8(name),
                                    Data::INVALID_XOBJ_ID);
}

bool Resource::tellsOfChanges() const
{
    return false;
}

void Resource::addChangeListener(const std::weak_ptr<ChangeListener>& listener)
{
    const std::lock_guard lock(m_listenerMutex);
    const auto isGone = [](const std::weak_ptr<ChangeListener>& other) {
        return other.expired();
    };
    m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(), isGone), m_listeners.end());
    m_listeners.push_back(listener);
}

void Resource::notifyChanged() const
{
    std::vector<std::weak_ptr<ChangeListener>> listeners;
    {
        const std::lock_guard lock(m_listenerMutex);
        listeners = m_listeners;
    }
    for (const std::weak_ptr<ChangeListener>& listener : listeners) {
        if (const std::shared_ptr<ChangeListener> living = listener.lock())
            living->onChanged(*this);
    }
}

} // namespace Zovi::ServiceKit
