#include "ServiceKit/Values.h"

#include "Data/XObjectGeneric.h"
#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace Zovi::ServiceKit
{

using Test::compact;
using Test::IsJson;

TEST(Values, AreWrittenOutAsWhatTheyAre)
{
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    object.setValue<Text>("text", "a \"b\"");
    object.setValue<TextList>("list", {Text("a"), Text("b")});
    object.setValue<Integer>("integer", std::numeric_limits<std::int64_t>::min());
    object.setValue<Number>("number", 1.25);
    object.setValue<Flag>("flag", true);
    object.setValue<Counter>("counter", std::numeric_limits<std::uint64_t>::max());
    EXPECT_THAT(compact(object.toJSON(0)),
                IsJson(R"({"text":"a \"b\"","list":["a","b"],"integer":-9223372036854775808,"number":1.25,
        "flag":true,"counter":18446744073709551615})"));
}

} // namespace Zovi::ServiceKit
