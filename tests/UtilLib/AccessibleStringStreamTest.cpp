#include "AccessibleStringStream.h"

#include <gtest/gtest.h>

#include <string>

namespace Zovi::Util
{
namespace
{

std::string content(const AccessibleStringStream& stream)
{
    return std::string(stream.getBuffer(), stream.size());
}

TEST(AccessibleStringStream, IsEmptyAndGoodAtFirst)
{
    const AccessibleStringStream stream;
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.size(), 0U);
    EXPECT_EQ(content(stream), "");
}

TEST(AccessibleStringStream, HoldsWhatWasWritten)
{
    AccessibleStringStream stream;
    stream << "text " << 42 << '\n';
    EXPECT_EQ(content(stream), "text 42\n");
    stream << "more" << std::flush;
    EXPECT_EQ(content(stream), "text 42\nmore");
}

TEST(AccessibleStringStream, CountsBytesThatAreZero)
{
    AccessibleStringStream stream;
    stream.write("a\0b", 3);
    EXPECT_EQ(content(stream), std::string("a\0b", 3));
}

TEST(AccessibleStringStream, GrowsWithItsContent)
{
    AccessibleStringStream stream;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        stream << i << ',';
        expected += std::to_string(i) + ',';
    }
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(content(stream), expected);
}

TEST(AccessibleStringStream, GivesItsContentWithoutACopy)
{
    AccessibleStringStream stream;
    stream << "text";
    EXPECT_EQ(stream.getBuffer(), stream.getBuffer());
    const auto* buffer = dynamic_cast<AccessibleStringStream::AccessibleStringBuf*>(stream.rdbuf());
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->getBuffer(), stream.getBuffer());
    EXPECT_EQ(buffer->size(), stream.size());
}

} // namespace
} // namespace Zovi::Util
