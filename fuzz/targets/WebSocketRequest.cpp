// A message of a client: an invalid one is told by its validity, never by an exception, and a valid one that
// is written anew reads back the same.

#include "Command/WebSocketRequestObject.h"

#include "JSONPrinter.h"
#include "Law.h"

#include <Poco/Exception.h>

using Zovi::Command::WebSocketRequestObject;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const std::string text = Zovi::Fuzz::textOf(data, size);
        const WebSocketRequestObject message(text);
        const WebSocketRequestObject copy(message);
        require(copy.isValid() == message.isValid(), "a copy is as valid");
        if (!message.isValid())
            return 0;
        const WebSocketRequestObject again(text);
        requireEqual(again.getType(), message.getType(), "reading twice gives the same type");
        requireEqual(again.getEvent().toString(), message.getEvent().toString(),
                     "reading twice gives the same event");
        require(again.hasInterval() == message.hasInterval() &&
                    again.hasUpdateLimit() == message.hasUpdateLimit(),
                "reading twice gives the same times");
        message.getIntervalTimeSpan();
        message.getUpdateLimitTimeSpan();
    } catch (const Poco::Exception&) {
        // Poco refuses the event as a URL, or a search value in it is no pattern.
    }
    return 0;
}
