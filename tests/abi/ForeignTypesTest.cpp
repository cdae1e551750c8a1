#include "ForeignDocuments.h"

#include <Command/QueryFilterJSON.h>

#include <Poco/Exception.h>
#include <Poco/JSON/Object.h>
#include <Poco/SharedLibrary.h>
#include <Poco/URI.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;

/// The module, as a service loads a plug-in.
class ForeignTypes : public testing::Test
{
protected:
    template <typename Function>
    Function* find(const std::string& name)
    {
        return reinterpret_cast<Function*>(m_module.getSymbol(name));
    }

private:
    Poco::SharedLibrary m_module{KYR_FOREIGN_MODULE, Poco::SharedLibrary::SHLIB_LOCAL};
};

std::string answer(const Array& documents, const std::string& query)
{
    std::ostringstream text;
    try {
        Array selected;
        Object::Ptr paging;
        QueryFilterJSON::filterJSONArrayByQuery(documents, RequestBase(Poco::URI("/svc/res?" + query)),
                                                selected, paging);
        selected.stringify(text);
        if (paging)
            paging->stringify(text);
    } catch (const Poco::Exception& exception) {
        text << exception.displayText();
    }
    return text.str();
}

const char* const QUERIES[] = {
    "",
    "$limit=3",
    "$offset=-1&$limit=-4",
    "$sortby=-text",
    "$sortby=text,integer&$limit=3",
    "$sortby=-double",
    "$sortby=float,flag",
    "$sortby=referred",
    "$sortby=-referredByValue",
    "$sortby=numbers,id",
    "$q=text%25",
    "$q=%2517",
    "$q=%5B0-9%5D%2B",
    "$q=ref4",
    "text=text%20number%203",
    "text=%25number%20%5B13%5D",
    "double=1.50",
    "double=1.5%25",
    "float=0.5,2.50",
    "integer=7",
    "flag=true",
    "referred=ref3",
    "referredByValue=ref3",
    "$fields=numbers($offset:1,$limit:2),numbersByValue($offset:1,$limit:2)",
    "$expand=0",
    "$expand=referred",
};

} // namespace

TEST_F(ForeignTypes, AreKnownByOtherAddresses)
{
    EXPECT_NE(find<decltype(foreignTextType)>("foreignTextType")(), foreignTextType());
    EXPECT_NE(find<decltype(foreignObjectType)>("foreignObjectType")(), foreignObjectType());
}

TEST_F(ForeignTypes, AreThoseOfTheDocumentsOfTheModule)
{
    Array documents;
    find<decltype(addForeignDocuments)>("addForeignDocuments")(documents, 2);
    EXPECT_EQ(&documents.getObject(1)->get("text").type(),
              find<decltype(foreignTextType)>("foreignTextType")());
    EXPECT_EQ(&documents.get(1).type(), find<decltype(foreignObjectType)>("foreignObjectType")());
}

TEST_F(ForeignTypes, AreQueriedAsOnesOwn)
{
    const auto addFromModule = find<decltype(addForeignDocuments)>("addForeignDocuments");
    for (const int count : {5, 40, 300}) {
        for (const char* const query : QUERIES) {
            SCOPED_TRACE(std::to_string(count) + " objects, " + query);
            Array own;
            addForeignDocuments(own, count);
            Array foreign;
            addFromModule(foreign, count);
            EXPECT_EQ(answer(foreign, query), answer(own, query));
        }
    }
}

TEST_F(ForeignTypes, AreQueriedTogetherWithOnesOwn)
{
    const auto addFromModule = find<decltype(addForeignDocuments)>("addForeignDocuments");
    for (const char* const query : QUERIES) {
        SCOPED_TRACE(query);
        Array own;
        addForeignDocuments(own, 40);
        addForeignDocuments(own, 40);
        Array mixed;
        addForeignDocuments(mixed, 40);
        addFromModule(mixed, 40);
        EXPECT_EQ(answer(mixed, query), answer(own, query));
    }
}
