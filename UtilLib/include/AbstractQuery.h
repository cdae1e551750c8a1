#pragma once

#include "UtilLibExport.h"

namespace Zovi::Util
{

/// A function object that computes a `Result` from a `Container` and leaves the container as it is.
template <typename Container, typename Result>
class KYRUTIL_API AbstractQuery
{
public:
    /// What is asked, and what is answered.
    typedef Container container_type;
    typedef Result result_type;

    /// The result for `container`.
    virtual result_type operator()(const container_type& container) const = 0;

    virtual ~AbstractQuery() = default;
};

/// A query that answers with the same kind of container: chosen, changed or ordered elements of the one it
/// got.
template <typename Container>
class KYRUTIL_API AbstractFilter : public AbstractQuery<Container, Container>
{
};

} // namespace Zovi::Util
