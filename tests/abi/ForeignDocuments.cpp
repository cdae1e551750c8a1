#include "ForeignDocuments.h"

#include <Poco/JSON/Object.h>
#include <Poco/Types.h>

#include <string>

using Poco::JSON::Array;
using Poco::JSON::Object;

namespace
{

Object::Ptr makeDocument(int number, int count)
{
    Object::Ptr referred(new Object);
    referred->set("id", "ref" + std::to_string(number)).set("size", number);
    Array::Ptr numbers(new Array);
    for (int item = 0; item < 5; ++item)
        numbers->add(item);
    Object::Ptr document(new Object);
    document->set("id", "id" + std::to_string(number * 7 % count));
    document->set("text", "text number " + std::to_string(number * 3 % count));
    document->set("integer", Poco::Int64(number * 5 % count));
    document->set("double", (number * 5 % count) / 4.0);
    document->set("float", static_cast<float>(number % 3) + 0.5F);
    document->set("flag", number % 2 == 0);
    document->set("referred", referred).set("referredByValue", *referred);
    document->set("numbers", numbers).set("numbersByValue", *numbers);
    return document;
}

} // namespace

void addForeignDocuments(Array& documents, int count)
{
    for (int number = 0; number < count; ++number) {
        const Object::Ptr document = makeDocument(number, count);
        if (number % 2 == 0)
            documents.add(*document);
        else
            documents.add(document);
    }
}

const std::type_info* foreignTextType()
{
    return &typeid(std::string);
}

const std::type_info* foreignObjectType()
{
    return &typeid(Object::Ptr);
}
