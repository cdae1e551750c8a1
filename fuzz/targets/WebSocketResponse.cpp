// An answer to a client's message: whatever the message was, the text that goes out is one JSON object that
// holds what was put in.

#include "Command/WebSocketResponseObject.h"

#include "Documents.h"
#include "Law.h"

using Zovi::Command::ResponseObject;
using Zovi::Command::WebSocketRequestObject;
using Zovi::Command::WebSocketResponseObject;
using Zovi::Fuzz::parseObject;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

namespace
{

Poco::JSON::Object::Ptr checkText(const WebSocketResponseObject& response)
{
    const Poco::JSON::Object::Ptr document = parseObject(response.toJsonString());
    require(!document.isNull(), "the text is one JSON object");
    requireEqual(document->optValue<std::string>("type", ""), response.getType(), "the type is in the text");
    return document;
}

void checkError(const WebSocketResponseObject& response, int code, const std::string& message)
{
    const Poco::JSON::Object::Ptr document = checkText(response);
    require(response.getType() == WebSocketResponseObject::TYPE_ERROR, "an error says so");
    require(document->optValue("code", 0) == code, "the code is in the text");
    requireEqual(document->optValue<std::string>("message", ""), message, "the message is in the text");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const std::string text = Zovi::Fuzz::textOf(data, size);
        const WebSocketRequestObject request(text);
        if (!request.isValid())
            return 0;
        checkText(WebSocketResponseObject(request));
        checkError(WebSocketResponseObject(request, 404, "not there"), 404, "not there");
        checkText(WebSocketResponseObject(request, WebSocketResponseObject::badData, "bad"));
        WebSocketResponseObject response(request);
        Poco::JSON::Object::Ptr content = new Poco::JSON::Object;
        content->set("text", "content");
        const ResponseObject state(content);
        response.setData(&state);
        response.setPaging(new Poco::JSON::Object);
        require(checkText(response)->has("paging"), "the page is in the text");
        response.resetPagingObject();
        const Poco::JSON::Object::Ptr document = checkText(response);
        require(response.getType() == WebSocketResponseObject::TYPE_DATA, "who has data says so");
        require(document->isObject("data") && !document->has("paging"), "the data stay, the page goes");
        requireEqual(document->optValue<std::string>("event", ""), request.getEvent().toString(),
                     "the event is in the text");
    } catch (const Poco::Exception&) {
        // Poco refuses the event as a URL, or a search value in it is no pattern.
    }
    return 0;
}
