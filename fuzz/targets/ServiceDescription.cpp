// The description of a service: what is read, written and read again is the same but for lists that are
// empty, and what cannot be read is a null pointer, never an exception.

#include "MicroServiceInfo.h"

#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"

#include <memory>

using Zovi::MicroServiceInfo;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;

namespace
{

std::string textOf(const MicroServiceInfo& service)
{
    return JSONPrinter::toString(*service.toJSON(0));
}

/// The text without the lists that are not set where the array that is read is empty. One that begins with
/// no text is set, to an empty list, and so is written as such an array.
std::string textWithoutEmptyLists(const MicroServiceInfo& service)
{
    Poco::JSON::Object::Ptr json = service.toJSON(0);
    for (const std::string& key :
         {MicroServiceInfo::KEY_PRIVILEGES, MicroServiceInfo::KEY_SERVICE_CATEGORIES}) {
        if (json->isArray(key) && json->getArray(key)->empty())
            json->remove(key);
    }
    return JSONPrinter::toString(*json);
}

/// False for a URI that Poco does not read as it has written it: ":a:b" is a path, and written as "a:b",
/// which has a scheme.
bool isReadAsWritten(const Poco::URI& uri)
{
    try {
        return Poco::URI(uri.toString()) == uri;
    } catch (const Poco::SyntaxException&) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Poco::JSON::Object::Ptr document = Zovi::Fuzz::parseObject(Zovi::Fuzz::textOf(data, size));
    const std::unique_ptr<MicroServiceInfo> service(MicroServiceInfo::FromJson(document));
    if (!service)
        return 0;
    requireEqual(textOf(MicroServiceInfo(*service)), textOf(*service), "a copy is written alike");
    if (service->hasValue(MicroServiceInfo::KEY_URI) && !isReadAsWritten(service->getUri()))
        return 0;
    const std::unique_ptr<MicroServiceInfo> again(MicroServiceInfo::FromJson(service->toJSON(0)));
    require(again != nullptr, "what is written can be read");
    requireEqual(textOf(*again), textWithoutEmptyLists(*service), "what is read is written alike");
    return 0;
}
