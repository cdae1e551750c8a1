#include "Command/Query/QueryParameter.h"

namespace Zovi::Command
{

QueryParameter::~QueryParameter() = default;
RenderCriterion::~RenderCriterion() = default;
SearchCriterion::~SearchCriterion() = default;

} // namespace Zovi::Command
