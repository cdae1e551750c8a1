// The description of a service: what is read, written and read again is the same, and what cannot be read is
// a null pointer, never an exception.

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Poco::JSON::Object::Ptr document = Zovi::Fuzz::parseObject(Zovi::Fuzz::textOf(data, size));
    const std::unique_ptr<MicroServiceInfo> service(MicroServiceInfo::FromJson(document));
    if (!service)
        return 0;
    requireEqual(textOf(MicroServiceInfo(*service)), textOf(*service), "a copy is written alike");
    const std::unique_ptr<MicroServiceInfo> again(MicroServiceInfo::FromJson(service->toJSON(0)));
    require(again != nullptr, "what is written can be read");
    requireEqual(textOf(*again), textOf(*service), "what is read is written alike");
    return 0;
}
