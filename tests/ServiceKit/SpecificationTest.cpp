#include "ServiceKit/Specification.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using Test::compact;
using Test::IsJson;

TEST(Specification, NamesEveryAttributeAndThoseOfAReference)
{
    const auto specification =
        makeSpecification("basket", "Fruit.",
                          {{"weight", "integer", "g", "How heavy it is."},
                           {"colour", "string", "", "As seen by day.", true},
                           {"picked", "time", "", "When it was picked.", false, true}});
    EXPECT_THAT(compact(specification), IsJson(R"({"name":"basket","description":"Fruit.","attributes":{
        "id":{"type":"uuid","description":"Identifies the element for as long as it exists."},
        "name":{"type":"string","description":"Name of the element."},
        "uri":{"type":"string","description":"Address of the element."},
        "weight":{"type":"integer","unit":"g","description":"How heavy it is."},
        "colour":{"type":"string","description":"As seen by day.","optional":true},
        "picked":{"type":"time","description":"When it was picked.","readOnly":true}}})"));
}

TEST(Specification, LetsAnAttributeOfAReferenceBeDescribedAnew)
{
    const auto specification = makeSpecification("x", "", {{"name", "string", "", "The label."}});
    EXPECT_THAT(compact(specification->getObject("attributes")->getObject("name")),
                IsJson(R"({"type":"string","description":"The label."})"));
}

} // namespace Zovi::ServiceKit
