#include "AbstractQuery.h"

#include "VirtualSlot.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace Zovi::Util
{
namespace
{

using Numbers = std::vector<int>;

class Count : public AbstractQuery<Numbers, std::size_t>
{
public:
    result_type operator()(const container_type& numbers) const override { return numbers.size(); }
};

class Positive : public AbstractFilter<Numbers>
{
public:
    explicit Positive(bool& destroyed)
        : m_destroyed(destroyed)
    {
    }
    ~Positive() override { m_destroyed = true; }

    result_type operator()(const container_type& numbers) const override
    {
        result_type positive;
        for (const int number : numbers) {
            if (number > 0)
                positive.push_back(number);
        }
        return positive;
    }

private:
    bool& m_destroyed;
};

TEST(AbstractQuery, NamesItsContainerAndItsResult)
{
    EXPECT_TRUE((std::is_same_v<Count::container_type, Numbers>));
    EXPECT_TRUE((std::is_same_v<Count::result_type, std::size_t>));
    EXPECT_TRUE((std::is_same_v<Positive::result_type, Numbers>));
}

TEST(AbstractQuery, IsCalledThroughItsBase)
{
    const Count count;
    const AbstractQuery<Numbers, std::size_t>& query = count;
    EXPECT_EQ(query({1, 2, 3}), 3U);
}

TEST(AbstractQuery, IsDestroyedThroughItsBase)
{
    bool destroyed = false;
    const AbstractQuery<Numbers, Numbers>* filter = new Positive(destroyed);
    EXPECT_EQ((*filter)({-1, 2, 0, 3}), (Numbers{2, 3}));
    delete filter;
    EXPECT_TRUE(destroyed);
}

/// The operator stands first, the destructor behind it: an object that both were called on through the wrong
/// entries would be destroyed instead of asked.
TEST(AbstractQuery, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(Zovi::Test::virtualEntry(&AbstractQuery<Numbers, Numbers>::operator()), 0U);
    EXPECT_EQ(Zovi::Test::virtualEntry(&AbstractFilter<Numbers>::operator()), 0U);
}

TEST(AbstractQuery, HoldsNoData)
{
    EXPECT_EQ(sizeof(AbstractFilter<Numbers>), sizeof(void*));
}

} // namespace
} // namespace Zovi::Util
