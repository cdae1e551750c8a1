#include "ServiceKit/TreeReader.h"

#include "Command/Query/ExpandParameter.h"
#include "Command/QueryFilterJSON.h"
#include "Command/ResponseObject.h"
#include "Printable.h"
#include "QueryFault.h"
#include "ServiceKit/RequestError.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/RegularExpression.h>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HttpResponse;
using Command::HTTPStatus;
using Command::QueryFilterJSON;
using Command::RequestBase;
using Command::UrlPath;

/// An object that has a member "data" would be taken for a document of which only that is meant.
HttpResponse answerWhole(const Poco::JSON::Object::Ptr& data)
{
    Poco::JSON::Object::Ptr document = new Poco::JSON::Object;
    document->set(Command::ResponseObject::FIELD_DATA, data);
    return HttpResponse(HTTPStatus::HTTP_OK, Command::ResponseObject(document));
}

HttpResponse answerId(const Reference& reference)
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    object->set("id", reference.id.toString());
    return answerWhole(object);
}

Poco::JSON::Array::Ptr references(const ServiceTree& tree)
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const auto& service : tree.services())
        array->add(service->info().toJSON(-1));
    return array;
}

Poco::JSON::Object::Ptr specification(const Service& service)
{
    Poco::JSON::Object::Ptr resources = new Poco::JSON::Object;
    for (const auto& resource : service.resources())
        resources->set(resource->reference().name, resource->specification());
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    object->set("name", service.reference().name);
    object->set("description", service.info().getDescription());
    object->set("resources", resources);
    return object;
}

Poco::JSON::Array::Ptr toJson(const MethodSet& methods)
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const std::string& name : methods.names())
        array->add(name);
    return array;
}

Poco::JSON::Object::Ptr accessRights(const Service& service)
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    object->set(service.reference().uri, toJson(MethodSet::readOnly()));
    for (const auto& resource : service.resources()) {
        const std::string& uri = resource->reference().uri;
        object->set(uri, toJson(resource->collectionMethods()));
        object->set(uri + "/<id>", toJson(resource->elementMethods()));
    }
    return object;
}

HttpResponse answerElementOf(const Resource& resource, const RequestBase& request)
{
    const UrlPath& path = request.getUrlPath();
    const Data::ElementBase::Ptr element = resource.element(resource.elementId(path));
    if (!element)
        throw resource.absence(path);
    return answerElement(request, *element);
}

/// What renders the objects of an answer; a null pointer if the request leaves the depth to the service.
Poco::SharedPtr<Command::ExpandParameter> expansionOf(const RequestBase& request)
{
    if (request.hasExpandCriteria())
        return request.getFirstCriterion<Command::LevelExpansion>();
    return request.getFirstCriterion<Command::PropertyExpansion>();
}

/// References stay in their short form unless the request asks for more.
Poco::JSON::Object::Ptr render(const Data::XObjectBase& object, const Command::ExpandParameter* expansion)
{
    Poco::JSON::Object::Ptr json = expansion ? expansion->apply(object) : object.toJSON(0);
    makePrintable(*json);
    return json;
}

HttpResponse answerArray(const RequestBase& request, const Poco::JSON::Array& array)
{
    Poco::JSON::Array::Ptr page = new Poco::JSON::Array;
    Poco::JSON::Object::Ptr paging;
    try {
        QueryFilterJSON::filterJSONArrayByQuery(array, request, *page, paging);
    } catch (const Poco::RegularExpressionException& exception) {
        // A pattern may be well-formed and yet ask for more than is granted, which shows only at a value.
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, describeSearchFault(request.getUri(), exception));
    }
    HttpResponse answer(HTTPStatus::HTTP_OK);
    answer.setDataFromArray(page, paging);
    return answer;
}

HttpResponse answerObject(const RequestBase& request, const Poco::JSON::Object& object)
{
    Poco::JSON::Object::Ptr shaped = new Poco::JSON::Object;
    QueryFilterJSON::filterJSONObjectByQuery(object, request, *shaped);
    return answerWhole(shaped);
}

} // namespace

TreeReader::TreeReader(const ServiceTree& tree)
    : m_tree(tree)
{
}

HttpResponse TreeReader::read(const RequestBase& request) const
{
    switch (request.getUrlPath().getCharacteristic()) {
    case UrlPath::ROOT:
        return answerArray(request, *references(m_tree));
    case UrlPath::ROOT_ID:
        return answerId(m_tree.root());
    case UrlPath::SERVICE:
    case UrlPath::SERVICE_ID:
    case UrlPath::SERVICE_SPEC:
    case UrlPath::SERVICE_RIGHTS:
        return readService(request);
    default:
        return isAccessRights(request.getUrlPath()) ? readService(request) : readResource(request);
    }
}

HttpResponse TreeReader::readService(const RequestBase& request) const
{
    const UrlPath& path = request.getUrlPath();
    const Service& service = m_tree.serviceAt(path);
    switch (path.getCharacteristic()) {
    case UrlPath::SERVICE:
        return answerElement(request, service.info());
    case UrlPath::SERVICE_ID:
        return answerId(service.reference());
    case UrlPath::SERVICE_SPEC:
        return answerWhole(specification(service));
    default:
        return answerObject(request, *accessRights(service));
    }
}

HttpResponse TreeReader::readResource(const RequestBase& request) const
{
    const UrlPath& path = request.getUrlPath();
    const Resource& resource = m_tree.resourceAt(path);
    switch (path.getCharacteristic()) {
    case UrlPath::SERVICE_RESOURCE:
        return answerCollection(request, resource.elements());
    case UrlPath::SERVICE_RESOURCE_ID:
        return answerId(resource.reference());
    case UrlPath::SERVICE_RESOURCE_SPEC:
        return answerWhole(resource.specification());
    default:
        return answerElementOf(resource, request);
    }
}

HttpResponse answerCollection(const RequestBase& request, const Data::ElementCollection& elements)
{
    const Poco::SharedPtr<Command::ExpandParameter> expansion = expansionOf(request);
    Poco::JSON::Array array;
    for (const Data::ElementBase::Ptr& element : elements)
        array.add(render(*element, expansion.get()));
    return answerArray(request, array);
}

HttpResponse answerElement(const RequestBase& request, const Data::XObjectBase& element)
{
    return answerObject(request, *render(element, expansionOf(request).get()));
}

} // namespace Zovi::ServiceKit
