// A message of a client: an invalid one is told by its validity, never by an exception, and of a valid one is
// told what stands in it.

#include "Command/WebSocketRequestObject.h"

#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"

#include <Poco/Exception.h>

using Zovi::Command::RequestBase;
using Zovi::Command::WebSocketRequestObject;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;

namespace
{

/// Throws for an integer that does not fit, as reading the message does.
bool isNumberOrAbsent(const Poco::Dynamic::Var& value)
{
    if (!value.isEmpty() && value.isInteger())
        value.convert<long>();
    return value.isEmpty() || value.isInteger();
}

/// The rules for a message, one behind the other.
bool isPlainlyValid(const Poco::JSON::Object& document)
{
    try {
        document.get("type").convert<std::string>();
        const RequestBase event(Poco::URI(document.get("event").convert<std::string>()));
        if (!document.isNull("Authorization"))
            document.get("Authorization").convert<std::string>();
        const Poco::Dynamic::Var flag = document.get("autosubscribe");
        const bool hasNumbers =
            isNumberOrAbsent(document.get("interval")) && isNumberOrAbsent(document.get("updatelimit"));
        return document.size() > 0 && hasNumbers && (flag.isEmpty() || flag.isBoolean());
    } catch (const Poco::Exception&) {
        return false;
    }
}

long numberOf(const Poco::JSON::Object& document, const std::string& key, long absent)
{
    return document.isNull(key) ? absent : document.getValue<long>(key);
}

void checkContent(const WebSocketRequestObject& message, const Poco::JSON::Object& document)
{
    requireEqual(message.getType(), document.getValue<std::string>("type"), "the type is that of the text");
    const RequestBase event(Poco::URI(document.getValue<std::string>("event")));
    requireEqual(message.getEvent().toString(), event.getUri().toString(), "so is the event");
    // An event without any text leaves the address that there is without a message.
    require(event.getUri() == Poco::URI() || (message.getUrlPath() == event.getUrlPath() &&
                                              message.hasAnyCriteria() == event.hasAnyCriteria()),
            "the event is its address, with its criteria");
    const long interval = numberOf(document, "interval", 0);
    require(message.hasInterval() == (interval != 0), "there is an interval if it is not 0");
    require(message.getInterval() == (interval != 0 ? interval : Zovi::DEFAULT_INTERVAL_MS),
            "the interval is that of the text");
    require(message.hasUpdateLimit() == !document.isNull("updatelimit"), "there is the limit that is given");
    require(message.getUpdateLimit() == numberOf(document, "updatelimit", Zovi::DEFAULT_UPDATELIMT_MS),
            "the limit is that of the text");
    require(message.isAutosubscribe() == document.optValue("autosubscribe", false), "so is the flag");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = Zovi::Fuzz::textOf(data, size);
    const WebSocketRequestObject message(text);
    const WebSocketRequestObject copy(message);
    require(copy.isValid() == message.isValid(), "a copy is as valid");
    const Poco::JSON::Object::Ptr document = Zovi::Fuzz::parseObject(text);
    if (!document)
        return 0;
    require(message.isValid() == isPlainlyValid(*document), "the plain rules refuse the same messages");
    if (!message.isValid())
        return 0;
    checkContent(message, *document);
    const WebSocketRequestObject again(JSONPrinter::toString(*message.getJson()));
    requireEqual(again.getEvent().toString(), message.getEvent().toString(), "what is written reads back");
    message.getIntervalTimeSpan();
    message.getUpdateLimitTimeSpan();
    return 0;
}
