// Attributes of all value classes in a container: what is set is read back, a copy is written alike and
// shares nothing, and what is removed is gone.

#include "Data/AttributeContainer.h"
#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"

#include "JSONPrinter.h"
#include "Law.h"

#include <Poco/UUIDGenerator.h>

#include <fuzzer/FuzzedDataProvider.h>

using namespace Zovi::Data;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;

using Text = AttributeValueStringable<std::string>;

namespace
{

template <typename V>
void setAndRead(AttributeContainer& attributes, const std::string& name, const V& value)
{
    try {
        attributes.setValue(name, V(value));
        require(attributes.getValue<V>(name) == value, "what is set is read back");
    } catch (const Poco::InvalidAccessException&) {
        // The attribute holds a value of another class already.
    } catch (const Poco::InvalidArgumentException&) {
    } catch (const Poco::DataException&) {
    }
}

void setSome(AttributeContainer& attributes, FuzzedDataProvider& input)
{
    const std::string name = input.ConsumeRandomLengthString(8);
    switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0:
        setAndRead(attributes, name, Text(input.ConsumeRandomLengthString(64)));
        break;
    case 1:
        setAndRead(attributes, name, AttributeValueInteger(input.ConsumeIntegral<std::int64_t>()));
        break;
    case 2:
        setAndRead(attributes, name,
                   AttributeValueStringArray{Text(input.ConsumeRandomLengthString(8)),
                                             Text(input.ConsumeRandomLengthString(8))});
        break;
    case 3:
        attributes.removeValue(name);
        require(!attributes.contains(name), "what is removed is gone");
        break;
    default:
        require(attributes.contains(name) == (attributes.getValue(name) != nullptr),
                "what is contained has a value");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    AttributeContainer attributes(7);
    while (input.remaining_bytes() > 0)
        setSome(attributes, input);
    const std::string text = JSONPrinter::toString(*attributes.toJSON(0));
    AttributeContainer copy = AttributeContainer::deepCopy(attributes);
    requireEqual(JSONPrinter::toString(*copy.toJSON(0)), text, "a copy is written alike");
    for (const auto& entry : copy)
        setAndRead(copy, entry.first, Text("changed"));
    requireEqual(JSONPrinter::toString(*attributes.toJSON(0)), text, "a copy shares nothing");
    for (const auto& left : attributes) {
        for (const auto& right : attributes)
            left.second->getValueBase()->compare(*right.second->getValueBase());
    }
    return 0;
}
