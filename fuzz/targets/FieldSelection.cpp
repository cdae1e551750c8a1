// A selection of fields with pages of their own: what is kept was there, both forms agree, and what is
// refused and what is kept is what the plain evaluation refuses and keeps.

#include "Command/Query/FilterParameter.h"

#include "Data/XObjectBase.h"
#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"
#include "PlainQuery.h"

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
    const std::string value = input.ConsumeRandomLengthString(256);
    const FilterParameter filter(value);
    const std::string text = input.ConsumeRemainingBytesAsString();
    const Object::Ptr source = parseObject(text);
    if (!source)
        return 0;
    const std::string plain =
        Zovi::Fuzz::plainAnswer(Zovi::Fuzz::urlWith("$fields", value), *parseObject(text));
    if (!filter.isValid()) {
        require(plain.find(" invalid") != std::string::npos, "what is refused is no selection");
        return 0;
    }
    Object result;
    filter.applyFilter(*source, result);
    checkKeptFields(filter, *source, result);
    requireEqual(Zovi::Test::describe(result) + " valid", plain,
                 "the result is that of the plain evaluation");
    Object::Ptr inPlace = parseObject(text);
    filter.applyFilter(*inPlace);
    requireEqual(JSONPrinter::toString(*inPlace), JSONPrinter::toString(result), "both forms agree");
    return 0;
}
