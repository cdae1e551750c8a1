#include "Printable.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Zovi::ServiceKit
{

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Test::compact;
using Zovi::Test::IsJson;

namespace
{

const double NO_NUMBER = std::nan("");
const double ENDLESS = std::numeric_limits<double>::infinity();

std::string printable(Object::Ptr object)
{
    makePrintable(*object);
    return compact(object);
}

} // namespace

TEST(Printable, LeavesAloneWhatJsonHas)
{
    Object::Ptr object(new Object);
    object->set("text", "Stra\xC3\x9F\x65\n\"").set("whole", -1).set("broken", 0.5).set("flag", true);
    object->set("nothing", Poco::Dynamic::Var()).set("list", Zovi::Test::parseJson(R"([1,"a",{"b":[]}])"));
    const std::string before = compact(object);
    EXPECT_EQ(printable(object), before);
}

TEST(Printable, LeavesOutNumbersThatJsonDoesNotHave)
{
    Object::Ptr object(new Object);
    object->set("a", NO_NUMBER).set("b", ENDLESS).set("c", -ENDLESS).set("d", 1.5);
    object->set("e", std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(printable(object), R"({"d":1.5})");
}

TEST(Printable, ReplacesWhatIsNoUtf8)
{
    Object::Ptr object(new Object);
    object->set("a", std::string("x\xFFy\xC3")).set("b", std::string("\xED\xA0\x80"));
    makePrintable(*object);
    EXPECT_EQ(object->getValue<std::string>("a"), "x\xEF\xBF\xBDy\xEF\xBF\xBD");
    EXPECT_EQ(object->getValue<std::string>("b"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Printable, LooksIntoWhatIsInside)
{
    Object::Ptr shared(new Object);
    shared->set("bad", NO_NUMBER).set("good", 1);
    Object value(*shared);
    Array::Ptr list(new Array);
    list->add(ENDLESS).add(2.5).add(NO_NUMBER).add(std::string("\xFF")).add(shared);
    Array listValue;
    listValue.add(NO_NUMBER).add("a");
    Object::Ptr object(new Object);
    object->set("list", list).set("listValue", listValue).set("shared", shared).set("value", value);
    object->set("none", Object::Ptr()).set("noList", Array::Ptr());
    makePrintable(*object);
    object->remove("none");
    object->remove("noList");
    EXPECT_THAT(compact(object), IsJson("{\"list\":[2.5,\"\xEF\xBF\xBD\",{\"good\":1}],\"listValue\":[\"a\"],"
                                        "\"shared\":{\"good\":1},\"value\":{\"good\":1}}"));
}

TEST(Printable, KeepsTheOrderOfInsertion)
{
    Object::Ptr object(new Object(Poco::JSON_PRESERVE_KEY_ORDER));
    object->set("z", 1).set("y", NO_NUMBER).set("a", std::string("\xFF"));
    EXPECT_EQ(printable(object), "{\"z\":1,\"a\":\"\xEF\xBF\xBD\"}");
}

} // namespace Zovi::ServiceKit
