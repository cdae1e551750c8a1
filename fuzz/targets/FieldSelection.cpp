// A selection of fields with pages of their own: what is kept was there, both forms agree, and selecting
// twice gives what selecting once gave.

#include "Command/Query/FilterParameter.h"

#include "Data/XObjectBase.h"
#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"

#include <fuzzer/FuzzedDataProvider.h>

using Poco::JSON::Object;
using Zovi::Command::FilterParameter;
using Zovi::Fuzz::parseObject;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;

namespace
{

void checkKeptFields(const FilterParameter& filter, const Object& source, const Object& result)
{
    for (const auto& member : result) {
        require(source.has(member.first), "no field is invented");
        bool isNamed = Zovi::Data::XObjectBase::isXObjectAttribute(member.first);
        for (const auto& field : filter.getFields())
            isNamed = isNamed || field.getName() == member.first;
        require(isNamed, "only named and identifying fields are kept");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const FilterParameter filter(input.ConsumeRandomLengthString(256));
    const std::string text = input.ConsumeRemainingBytesAsString();
    const Object::Ptr source = parseObject(text);
    if (!source || !filter.isValid())
        return 0;
    Object result;
    filter.applyFilter(*source, result);
    checkKeptFields(filter, *source, result);
    Object::Ptr inPlace = parseObject(text);
    filter.applyFilter(*inPlace);
    requireEqual(JSONPrinter::toString(*inPlace), JSONPrinter::toString(result), "both forms agree");
    return 0;
}
