#include "ServiceKit/RequestError.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using Command::HTTPStatus;
using Test::compact;
using Test::IsJson;

TEST(RequestError, BecomesTheErrorDocument)
{
    const RequestError error(HTTPStatus::HTTP_CONFLICT, "too late");
    EXPECT_EQ(error.status(), HTTPStatus::HTTP_CONFLICT);
    EXPECT_EQ(error.toResponse().getStatus(), HTTPStatus::HTTP_CONFLICT);
    EXPECT_THAT(compact(error.toResponse().getJson()),
                IsJson(R"({"code":409,"message":"too late","status":"error"})"));
}

TEST(RequestError, HasTheDefaultTextOfItsStatus)
{
    const RequestError error(HTTPStatus::HTTP_NOT_FOUND, "");
    EXPECT_THAT(compact(error.toResponse().getJson()),
                IsJson(R"({"code":404,"message":"element not found","status":"error"})"));
}

TEST(RequestError, TellsTheAllowedMethods)
{
    const MethodNotAllowed error("no", "GET");
    EXPECT_EQ(error.status(), HTTPStatus::HTTP_METHOD_NOT_ALLOWED);
    EXPECT_EQ(error.allowed(), "GET");
    EXPECT_STREQ(error.what(), "no");
}

} // namespace Zovi::ServiceKit
