#include "Command/Query/SortingParameter.h"

#include "LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Test::LogCapture;

std::string textOf(const OrderedField& field)
{
    return (field.isOrderDescending() ? "-[" : "+[") + field.getName() + "]";
}

std::string textOf(const SortingParameter& sorting)
{
    std::string text;
    for (const OrderedField& field : sorting.getFields())
        text += textOf(field);
    return text;
}

} // namespace

TEST(OrderedField, HasFixedNumbersForItsDirections)
{
    EXPECT_EQ(ASCENDING, 0);
    EXPECT_EQ(DESCENDING, 1);
    EXPECT_EQ(OrderedField("a").getOrder(), ASCENDING);
    EXPECT_EQ(OrderedField("-a").getOrder(), DESCENDING);
}

TEST(OrderedField, TakesALeadingMinusForDescending)
{
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        {"name", "+[name]"},   {"-name", "-[name]"}, {"-", "-[]"},       {"", "+[]"},       {"--a", "-[-a]"},
        {"+name", "+[+name]"}, {" -a", "+[ -a]"},    {"- a ", "-[ a ]"}, {"a-b", "+[a-b]"}, {"a,b", "+[a,b]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(textOf(OrderedField(row.text)), row.expected);
    }
}

TEST(SortingParameter, SplitsAtCommas)
{
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        {"", ""},
        {"a", "+[a]"},
        {"a,-b", "+[a]-[b]"},
        {"-a,-b,c", "-[a]-[b]+[c]"},
        {"a,a", "+[a]+[a]"},
        // a trailing comma adds nothing, an empty name elsewhere counts
        {"a,", "+[a]"},
        {",a", "+[]+[a]"},
        {"a,,b", "+[a]+[]+[b]"},
        {",", "+[]"},
        {",,", "+[]+[]"},
        {"-,-", "-[]-[]"},
        // blanks and signs inside belong to the name
        {" a , b ", "+[ a ]+[ b ]"},
        {"+a,b-", "+[+a]+[b-]"},
    };
    LogCapture log;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const SortingParameter sorting(row.text);
        EXPECT_EQ(textOf(sorting), row.expected);
        EXPECT_TRUE(sorting.isValid()) << "no text is refused";
    }
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

TEST(SortingParameter, TakesOneField)
{
    const SortingParameter sorting(OrderedField("-a,b"));
    EXPECT_EQ(textOf(sorting), "-[a,b]");
    EXPECT_TRUE(sorting.isValid());
}

TEST(SortingParameter, OrdersByIdByDefault)
{
    const SortingParameter sorting = SortingParameter::defaultOrder();
    EXPECT_EQ(textOf(sorting), "+[id]");
    EXPECT_TRUE(sorting.isValid());
}

} // namespace Zovi::Command
