#include "Command/RequestBase.h"

namespace Zovi::Command
{

void RequestBase::dispatchParameter(const std::string& /*key*/, const std::string& /*value*/,
                                    PendingPaging& /*paging*/)
{
}

void RequestBase::dispatchPaging(const PendingPaging& /*paging*/) {}

} // namespace Zovi::Command
