#include "NoteResource.h"

#include "ServiceKit/RequestError.h"
#include "ServiceKit/Values.h"
#include "Timestamp.h"

#include <Poco/UUIDGenerator.h>

#include <utility>

namespace Zovi::Host
{

namespace
{

using Command::HttpRequest;
using Command::HttpResponse;
using Command::HTTPStatus;
using ServiceKit::Flag;
using ServiceKit::Integer;
using ServiceKit::MethodSet;
using ServiceKit::RequestError;
using ServiceKit::Text;

void refuseUnknownConditions(const HttpRequest& request)
{
    if (request.getHttpRequest().get("If-Match", "*") != "*")
        throw RequestError(HTTPStatus::HTTP_PRECONDITION_FAILED,
                           "'If-Match' cannot be granted, since the tags of the answers are weak");
}

HttpResponse answerWith(HTTPStatus status, const Data::ElementBase& element)
{
    return HttpResponse(status, Command::ResponseObject(element.toJSON(0)));
}

std::vector<ServiceKit::AttributeSpecification> attributes()
{
    const std::string nameLimit = std::to_string(NoteContent::MAX_NAME_LENGTH);
    const std::string textLimit = std::to_string(NoteContent::MAX_TEXT_LENGTH);
    return {
        {"name", "string", "", "Title, a single line of " + nameLimit + " characters at most."},
        {"text", "text", "", "What it says, in " + textLimit + " characters at most; empty if not told.",
         true},
        {"pinned", "boolean", "", "Whether it is to be kept in sight; false if not told.", true},
        {"created", "time", "ms", "When it was made, since the Unix epoch.", false, true},
        {"modified", "time", "ms", "When it was last written, since the Unix epoch.", false, true},
    };
}

} // namespace

std::int64_t currentTime()
{
    return Timestamp::createTimestamp().asMilliseconds();
}

NoteResource::NoteResource(const ServiceKit::Reference& service, const std::shared_ptr<NoteStore>& store,
                           std::function<std::int64_t()> now, std::size_t maxNotes)
    : Resource(service.child("notes"), "Notes on this machine, written by whoever uses it.", attributes())
    , m_store(store)
    , m_now(std::move(now))
    , m_maxNotes(maxNotes)
{
}

Data::ElementCollection NoteResource::elements() const
{
    Data::ElementCollection elements;
    for (const Note& note : m_store->readAll())
        elements.push_back(describe(note));
    return elements;
}

Data::ElementBase::Ptr NoteResource::element(const Poco::UUID& id) const
{
    const std::optional<Note> note = m_store->find(id);
    return note ? describe(*note) : Data::ElementBase::Ptr();
}

MethodSet NoteResource::collectionMethods() const
{
    return {HttpRequest::GET, HttpRequest::HEAD, HttpRequest::POST};
}

MethodSet NoteResource::elementMethods() const
{
    return {HttpRequest::GET, HttpRequest::HEAD, HttpRequest::PUT, HttpRequest::DELETE};
}

HttpResponse NoteResource::write(const HttpRequest& request)
{
    refuseUnknownConditions(request);
    switch (request.getType()) {
    case HttpRequest::POST:
        return create(request);
    case HttpRequest::PUT:
        return replace(request);
    case HttpRequest::DELETE:
        return remove(request);
    default:
        return Resource::write(request);
    }
}

bool NoteResource::tellsOfChanges() const
{
    return true;
}

HttpResponse NoteResource::create(const HttpRequest& request)
{
    const std::int64_t now = m_now();
    const Note note{Poco::UUIDGenerator::defaultGenerator().createRandom(),
                    parseNoteContent(ServiceKit::Body(request)), now, now};
    if (!m_store->add(note, m_maxNotes))
        throw RequestError(HTTPStatus::HTTP_CONFLICT,
                           "there are " + std::to_string(m_maxNotes) + " notes already, delete one first");
    notifyChanged();
    HttpResponse answer = answerWith(HTTPStatus::HTTP_CREATED, *describe(note));
    answer.setLocation(reference().element(note.id, note.content.name).uri);
    return answer;
}

HttpResponse NoteResource::replace(const HttpRequest& request)
{
    const NoteContent content = parseNoteContent(ServiceKit::Body(request));
    const std::optional<Note> note = m_store->replace(elementId(request.getUrlPath()), content, m_now());
    if (!note)
        throw absence(request.getUrlPath());
    notifyChanged();
    return answerWith(HTTPStatus::HTTP_OK, *describe(*note));
}

HttpResponse NoteResource::remove(const HttpRequest& request)
{
    if (!m_store->remove(elementId(request.getUrlPath())))
        throw absence(request.getUrlPath());
    notifyChanged();
    return HttpResponse::createStatusOk();
}

Data::ElementBase::Ptr NoteResource::describe(const Note& note) const
{
    Poco::SharedPtr<Data::ElementGeneric> element = makeElement(note.id, note.content.name);
    element->setValue<Text>("text", note.content.text);
    element->setValue<Flag>("pinned", note.content.isPinned);
    element->setValue<Integer>("created", note.created);
    element->setValue<Integer>("modified", note.modified);
    return element;
}

} // namespace Zovi::Host
