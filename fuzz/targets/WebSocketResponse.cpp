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

void checkText(const WebSocketResponseObject& response)
{
    const Poco::JSON::Object::Ptr document = parseObject(response.toJsonString());
    require(!document.isNull(), "the text is one JSON object");
    requireEqual(document->optValue<std::string>("type", ""), response.getType(), "the type is in the text");
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
        checkText(WebSocketResponseObject(request, 404, "not there"));
        checkText(WebSocketResponseObject(request, WebSocketResponseObject::badData, "bad"));
        WebSocketResponseObject response(request);
        Poco::JSON::Object::Ptr content = new Poco::JSON::Object;
        content->set("text", "content");
        const ResponseObject state(content);
        response.setData(&state);
        response.resetPagingObject();
        checkText(response);
    } catch (const Poco::Exception&) {
        // Poco refuses the event as a URL, or a search value in it is no pattern.
    }
    return 0;
}
