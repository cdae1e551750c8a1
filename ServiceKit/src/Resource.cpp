#include "ServiceKit/Resource.h"

#include "Data/ResourceBase.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Net/HTTPRequest.h>

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

Resource::Resource(const Reference& reference, const std::string& description)
    : m_reference(reference)
    , m_description(description)
    , m_object(Data::INVALID_XOBJ_ID)
{
    reference.identify(m_object);
    m_object.setValue<Data::AttributeValueStringable<std::string>>(Data::ResourceBase::KEY_DESCRIPTION,
                                                                   description);
}

Resource::~Resource() = default;

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

Poco::SharedPtr<Data::ElementGeneric> Resource::makeElement(const Poco::UUID& id,
                                                            const std::string& name) const
{
    return new Data::ElementGeneric(Poco::URI(m_reference.element(id, name).uri), toValidUtf8(name),
                                    Data::INVALID_XOBJ_ID);
}

} // namespace Zovi::ServiceKit
