#include "Data/XObjectId.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

static_assert(std::is_same_v<XObjectId, std::int64_t>);
static_assert(INVALID_XOBJ_ID == -1);

TEST(XObjectId, RunsThroughAllNumbersButTheInvalidOne)
{
    using Limits = std::numeric_limits<XObjectId>;
    // Constant expressions, so that an overflow would not compile.
    static_assert(Detail::nextXObjectId(0) == 1);
    static_assert(Detail::nextXObjectId(Limits::max()) == Limits::min());
    static_assert(Detail::nextXObjectId(Limits::min()) == Limits::min() + 1);
    static_assert(Detail::nextXObjectId(-3) == -2);
    static_assert(Detail::nextXObjectId(-2) == 0);
    EXPECT_EQ(Detail::nextXObjectId(Limits::max() - 1), Limits::max());
    EXPECT_EQ(Detail::nextXObjectId(Limits::max()), Limits::min());
    EXPECT_EQ(Detail::nextXObjectId(-2), 0);
}

TEST(XObjectId, HasALimitOnWhatIsRecorded)
{
    const std::size_t limit = 9223372036854775807U;
    EXPECT_NO_THROW(Detail::checkXObjectIdsLeft(0));
    EXPECT_NO_THROW(Detail::checkXObjectIdsLeft(limit - 1));
    try {
        Detail::checkXObjectIdsLeft(limit);
        FAIL() << "nothing thrown";
    } catch (const Poco::PoolOverflowException& error) {
        EXPECT_EQ(error.message(), "XObject-ID limit reached");
    }
}

} // namespace

} // namespace Zovi::Data
