#include <Command/SortingFilter.h>

#include <gmock/gmock.h>

#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Zovi::Command::OrderedField;
using Zovi::Command::SortingFilter;
using Zovi::Command::SortingParameter;
using Zovi::Util::CompareResult;

using Item = std::map<std::string, int>;
using Items = std::vector<Item>;

/// Decides nothing where one of the two lacks the field.
struct ItemCompare {
    CompareResult operator()(const Item& a, const Item& b, const std::string& field) const
    {
        if (field == "refused")
            throw std::runtime_error("refused");
        if (a.count(field) == 0 || b.count(field) == 0)
            return Zovi::Util::UNKNOWN;
        return Zovi::Util::CompareHelper::compare(a.at(field), b.at(field));
    }
};

using Filter = SortingFilter<Items, ItemCompare, Item>;

const Item SMALL_OLD{{"size", 1}, {"age", 9}};
const Item SMALL_YOUNG{{"size", 1}, {"age", 2}};
const Item LARGE{{"size", 5}, {"age", 5}};

TEST(SortingFilter, IsAFilterOfItsContainer)
{
    static_assert(std::is_base_of_v<Zovi::Util::AbstractFilter<Items>, Filter>);
    static_assert(std::is_same_v<Filter::container_type, Items>);
    static_assert(std::is_same_v<Filter::result_type, Items>);
    const Filter filter(SortingParameter("size"));
    const Zovi::Util::AbstractFilter<Items>& base = filter;
    EXPECT_THAT(base({LARGE, SMALL_OLD}), ElementsAre(SMALL_OLD, LARGE));
}

TEST(SortingFilter, SortsByTheFieldsInTheirOrder)
{
    const Items items{LARGE, SMALL_OLD, SMALL_YOUNG};
    EXPECT_THAT(Filter(SortingParameter("size,age"))(items), ElementsAre(SMALL_YOUNG, SMALL_OLD, LARGE));
    EXPECT_THAT(Filter(SortingParameter("size,-age"))(items), ElementsAre(SMALL_OLD, SMALL_YOUNG, LARGE));
    EXPECT_THAT(Filter(SortingParameter("-size,age"))(items), ElementsAre(LARGE, SMALL_YOUNG, SMALL_OLD));
    EXPECT_THAT(Filter(SortingParameter("age"))(items), ElementsAre(SMALL_YOUNG, LARGE, SMALL_OLD));
}

TEST(SortingFilter, AsksTheNextFieldWhereOneDecidesNothing)
{
    const Filter filter(SortingParameter("unknown,size,age"));
    EXPECT_TRUE(filter(SMALL_OLD, LARGE));
    EXPECT_FALSE(filter(LARGE, SMALL_OLD));
    EXPECT_TRUE(filter(SMALL_YOUNG, SMALL_OLD));
    EXPECT_FALSE(filter(SMALL_OLD, SMALL_OLD));
}

TEST(SortingFilter, AsksNoFieldBehindTheOneThatDecides)
{
    const Filter filter(SortingParameter("size,refused"));
    EXPECT_TRUE(filter(SMALL_OLD, LARGE));
    EXPECT_FALSE(filter(LARGE, SMALL_OLD));
    EXPECT_THROW(filter(SMALL_OLD, SMALL_YOUNG), std::runtime_error);
}

TEST(SortingFilter, LeavesEveryComparisonFalseWithoutAField)
{
    const Filter filter(SortingParameter(""));
    EXPECT_FALSE(filter(SMALL_OLD, LARGE));
    EXPECT_FALSE(filter(LARGE, SMALL_OLD));
    EXPECT_THAT(filter({LARGE, SMALL_OLD}), ElementsAre(LARGE, SMALL_OLD));
}

TEST(SortingFilter, SortsInPlaceIntoAnotherContainerAndIntoACopy)
{
    const Items items{LARGE, SMALL_OLD};
    const Filter filter(SortingParameter("size"));

    Items inPlace = items;
    filter.apply(inPlace);
    EXPECT_THAT(inPlace, ElementsAre(SMALL_OLD, LARGE));

    Items other{LARGE, LARGE, LARGE};
    filter.apply(items, other);
    EXPECT_THAT(other, ElementsAre(SMALL_OLD, LARGE));

    EXPECT_THAT(filter(items), ElementsAre(SMALL_OLD, LARGE));
    EXPECT_THAT(items, ElementsAre(LARGE, SMALL_OLD));
}

TEST(SortingFilter, ComparesNothingInAContainerOfOne)
{
    const Filter filter(SortingParameter("refused"));
    EXPECT_THAT(filter({LARGE}), ElementsAre(LARGE));
    EXPECT_THAT(filter({}), IsEmpty());
    EXPECT_THROW(filter({LARGE, LARGE}), std::runtime_error);
}

TEST(SortingFilter, KeepsACopyOfItsCriterion)
{
    SortingParameter criterion("size");
    const Filter filter(criterion);
    criterion = SortingParameter("-size");
    EXPECT_TRUE(filter(SMALL_OLD, LARGE));
}

} // namespace
