#include "Command/Query/QueryParameter.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace Zovi::Command
{

namespace
{

static_assert(std::has_virtual_destructor_v<QueryParameter>);
static_assert(std::has_virtual_destructor_v<RenderCriterion>);
static_assert(std::has_virtual_destructor_v<SearchCriterion>);
static_assert(std::is_base_of_v<QueryParameter, RenderCriterion>);
static_assert(std::is_base_of_v<QueryParameter, SearchCriterion>);
static_assert(!std::is_base_of_v<RenderCriterion, SearchCriterion>);
static_assert(!std::is_base_of_v<SearchCriterion, RenderCriterion>);
static_assert(sizeof(RenderCriterion) == sizeof(QueryParameter));
static_assert(sizeof(SearchCriterion) == sizeof(QueryParameter));

template <typename Kind>
class Criterion : public Kind
{
public:
    explicit Criterion(bool parses, bool* destroyed = nullptr)
        : m_destroyed(destroyed)
    {
        if (!parses)
            this->m_valid = false;
    }

    ~Criterion() override
    {
        if (m_destroyed != nullptr)
            *m_destroyed = true;
    }

private:
    bool* m_destroyed;
};

} // namespace

TEST(QueryParameter, IsValidUntilADerivedConstructorSaysOtherwise)
{
    EXPECT_TRUE(Criterion<QueryParameter>(true).isValid());
    EXPECT_TRUE(Criterion<RenderCriterion>(true).isValid());
    EXPECT_TRUE(Criterion<SearchCriterion>(true).isValid());
    EXPECT_FALSE(Criterion<QueryParameter>(false).isValid());
    EXPECT_FALSE(Criterion<RenderCriterion>(false).isValid());
    EXPECT_FALSE(Criterion<SearchCriterion>(false).isValid());
}

TEST(QueryParameter, KeepsItsValidityWhenItIsCopied)
{
    const Criterion<RenderCriterion> invalid(false);
    const Criterion<RenderCriterion> copy(invalid);
    EXPECT_FALSE(copy.isValid());
    Criterion<RenderCriterion> assigned(true);
    assigned = invalid;
    EXPECT_FALSE(assigned.isValid());
}

TEST(QueryParameter, IsDestroyedThroughAnyOfItsBases)
{
    bool destroyed = false;
    std::unique_ptr<QueryParameter> base = std::make_unique<Criterion<RenderCriterion>>(true, &destroyed);
    base.reset();
    EXPECT_TRUE(destroyed);

    destroyed = false;
    std::unique_ptr<SearchCriterion> kind = std::make_unique<Criterion<SearchCriterion>>(true, &destroyed);
    kind.reset();
    EXPECT_TRUE(destroyed);
}

} // namespace Zovi::Command
