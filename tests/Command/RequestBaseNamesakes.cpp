#include "RequestBaseNamesakes.h"

namespace Zovi::Command::Namesakes
{

namespace
{

class RenderNamesake : public RenderCriterion
{
};

class SearchNamesake : public SearchCriterion
{
};

} // namespace

void addRenderNamesake(RequestBase& request)
{
    request.addRenderCriterion(Poco::SharedPtr<RenderNamesake>(new RenderNamesake));
}

void addSearchNamesake(RequestBase& request)
{
    request.addSearchCriterion(Poco::SharedPtr<SearchNamesake>(new SearchNamesake));
}

} // namespace Zovi::Command::Namesakes
