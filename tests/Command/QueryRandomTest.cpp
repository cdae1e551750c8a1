#include "Command/QueryFilterJSON.h"

#include "../reference/PlainEvaluation.h"
#include "../reference/RandomDocuments.h"
#include "Command/RequestBase.h"
#include "LogCapture.h"
#include "RandomSource.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <typeinfo>
#include <vector>

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Test::describe;
using Zovi::Test::describeSharing;
using Zovi::Test::LogCapture;
using Zovi::Test::PlainEvaluation;
using Zovi::Test::RandomDocuments;
using Zovi::Test::RandomSource;

namespace
{

/// How many cases a test makes: its share, in percent, of the 10,000 of a daily run, or of as many as
/// ZOVI_TEST_CASES asks for.
int caseCount(int percent)
{
    const char* text = std::getenv("ZOVI_TEST_CASES");
    return std::max(1, (text ? std::atoi(text) : 10000) * percent / 100);
}

/// Everything about one evaluation that a caller can tell.
struct Outcome {
    std::string validity;
    std::string exception;
    std::string output;
    std::string paging;
    std::string sharing;
    std::string input; ///< after the evaluation
    std::vector<std::string> logged;
};

std::string describeFailure(const std::exception& failure)
{
    const auto* known = dynamic_cast<const Poco::Exception*>(&failure);
    return std::string(typeid(failure).name()) + ": " + (known ? known->displayText() : failure.what());
}

template <typename Evaluate>
std::string exceptionOf(const Evaluate& evaluate)
{
    try {
        evaluate();
        return "none";
    } catch (const std::exception& failure) {
        return describeFailure(failure);
    }
}

Array leftOver()
{
    Array array;
    array.add("what stood here before");
    return array;
}

Object::Ptr formerPaging()
{
    Object::Ptr paging = new Object;
    paging->set("former", true);
    return paging;
}

template <typename Evaluate>
Outcome evaluateCollection(const Array& original, bool inPlace, const Evaluate& evaluate)
{
    Array input = Zovi::Test::cloneDeep(original);
    const Array before = input;
    Array output = leftOver();
    Array& target = inPlace ? input : output;
    Object::Ptr paging = formerPaging();
    Outcome outcome;
    outcome.exception = exceptionOf([&] { evaluate(input, target, paging); });
    outcome.output = describe(target);
    outcome.paging = describe(paging);
    outcome.sharing = describeSharing(before, target);
    outcome.input = describe(before);
    return outcome;
}

Outcome plainCollection(const std::string& url, const Array& original, bool inPlace)
{
    std::vector<std::string> logged;
    std::string validity;
    Outcome outcome =
        evaluateCollection(original, inPlace, [&](const Array& in, Array& out, Object::Ptr& paging) {
            PlainEvaluation plain(url, logged);
            validity = plain.isValid() ? "valid" : "condemned";
            plain.evaluate(in, out, paging);
        });
    outcome.logged = logged;
    outcome.validity = validity;
    return outcome;
}

Outcome productCollection(const std::string& url, const Array& original, bool inPlace)
{
    LogCapture log(Poco::Message::PRIO_NOTICE);
    std::string validity;
    Outcome outcome =
        evaluateCollection(original, inPlace, [&](const Array& in, Array& out, Object::Ptr& paging) {
            const RequestBase request{Poco::URI(url)};
            validity = request.getUrlPath().isValid() ? "valid" : "condemned";
            QueryFilterJSON::filterJSONArrayByQuery(in, request, out, paging);
        });
    outcome.logged = log.texts();
    outcome.validity = validity;
    return outcome;
}

/// The same without a paging object.
Outcome productWithoutPaging(const std::string& url, const Array& original, bool inPlace)
{
    const LogCapture log(Poco::Message::PRIO_NOTICE);
    return evaluateCollection(original, inPlace, [&](const Array& in, Array& out, Object::Ptr&) {
        QueryFilterJSON::filterJSONArrayByQuery(in, RequestBase(Poco::URI(url)), out);
    });
}

template <typename Evaluate>
Outcome evaluateObject(const Object& original, const Evaluate& evaluate)
{
    Object::Ptr input = Zovi::Test::cloneDeep(original);
    Object output;
    output.set("former", true);
    Outcome outcome;
    outcome.exception = exceptionOf([&] { evaluate(*input, output); });
    outcome.output = describe(output);
    outcome.sharing = describeSharing(*input, output);
    outcome.input = describe(input);
    return outcome;
}

Outcome plainObject(const std::string& url, const Object& original)
{
    std::vector<std::string> logged;
    Outcome outcome = evaluateObject(
        original, [&](const Object& in, Object& out) { PlainEvaluation(url, logged).evaluate(in, out); });
    outcome.logged = logged;
    return outcome;
}

Outcome productObject(const std::string& url, const Object& original)
{
    LogCapture log(Poco::Message::PRIO_NOTICE);
    Outcome outcome = evaluateObject(original, [&](const Object& in, Object& out) {
        QueryFilterJSON::filterJSONObjectByQuery(in, RequestBase(Poco::URI(url)), out);
    });
    outcome.logged = log.texts();
    return outcome;
}

void expectEqual(const Outcome& product, const Outcome& plain)
{
    EXPECT_EQ(product.validity, plain.validity);
    EXPECT_EQ(product.exception, plain.exception);
    EXPECT_EQ(product.output, plain.output);
    EXPECT_EQ(product.paging, plain.paging);
    EXPECT_EQ(product.sharing, plain.sharing);
    EXPECT_EQ(product.input, plain.input);
    EXPECT_EQ(product.logged, plain.logged);
}

using Serials = std::vector<int>;

/// The serial numbers of the objects of one page; what the paging object calls the total is set in `total`.
Serials serialsOfPage(const std::string& url, const Array& input, std::size_t& total)
{
    Array output;
    Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(input, RequestBase(Poco::URI(url)), output, paging);
    total = paging->getValue<std::size_t>("total");
    Serials serials;
    for (unsigned int i = 0; i < output.size(); ++i)
        serials.push_back(output.getObject(i)->getValue<int>(RandomDocuments::SERIAL_NUMBER));
    return serials;
}

/// What the plain evaluation of some of the objects throws, "none" if nothing. Of one it throws what a search
/// throws, of two what their comparison does.
std::string plainExceptionOf(const std::string& url, const Array& input,
                             std::initializer_list<unsigned> places)
{
    Array some;
    for (const unsigned place : places)
        some.add(input.get(place));
    return plainCollection(url, some, false).exception;
}

bool doesPlainEvaluationThrow(const std::string& exception, const std::string& url, const Array& input)
{
    for (unsigned i = 0; i < input.size(); ++i) {
        if (plainExceptionOf(url, input, {i}) == exception)
            return true;
        for (unsigned j = 0; j < input.size(); ++j) {
            if (i != j && plainExceptionOf(url, input, {i, j}) == exception)
                return true;
        }
    }
    return false;
}

/// The objects that a search alone accepts.
Serials keptSerials(const std::string& url, const Array& input)
{
    Serials kept;
    for (unsigned i = 0; i < input.size(); ++i) {
        Array one;
        one.add(input.get(i));
        Array output;
        Object::Ptr paging;
        std::vector<std::string> log;
        PlainEvaluation(url, log).evaluate(one, output, paging);
        if (output.size() > 0)
            kept.push_back(static_cast<int>(i));
    }
    return kept;
}

/// Asks for page after page. No object is lost between them or shown twice, and none that the search refuses
/// is shown.
void expectPagesToFitTogether(const std::string& url, const Array& input, std::size_t limit)
{
    const Serials kept = keptSerials(url, input);
    Serials shown;
    std::size_t total = kept.size();
    for (std::size_t offset = 0; offset < kept.size(); offset += limit) {
        const std::string page = "&$limit=" + std::to_string(limit) + "&$offset=" + std::to_string(offset);
        const Serials serials = serialsOfPage(url + page, input, total);
        EXPECT_EQ(total, kept.size());
        EXPECT_EQ(serials.size(), std::min(limit, kept.size() - offset));
        shown.insert(shown.end(), serials.begin(), serials.end());
    }
    std::sort(shown.begin(), shown.end());
    EXPECT_EQ(shown, kept);
}

} // namespace

TEST(QueryRandom, AnswersSmallMixedCollectionsAsThePlainEvaluationDoes)
{
    RandomSource random;
    RandomDocuments documents(random);
    for (int i = 0; i < caseCount(50) && !HasFailure(); ++i) {
        const Array input = documents.mixedCollection();
        const std::string url = "/svc/res" + documents.query(false);
        const bool inPlace = random.oneIn(4);
        SCOPED_TRACE("case " + std::to_string(i) + ", " + url + (inPlace ? " in place" : "") + " on " +
                     describe(input));
        const Outcome product = productCollection(url, input, inPlace);
        expectEqual(product, plainCollection(url, input, inPlace));
        const Outcome withoutPaging = productWithoutPaging(url, input, inPlace);
        EXPECT_EQ(withoutPaging.exception, product.exception);
        EXPECT_EQ(withoutPaging.output, product.output);
        EXPECT_EQ(withoutPaging.input, product.input);
    }
}

/// Where values of all kinds are compared there is no order, so that no result is the right one.
TEST(QueryRandom, LosesNoObjectOfLargeMixedCollections)
{
    RandomSource random;
    RandomDocuments documents(random);
    int refused = 0;
    int answered = 0;
    for (int i = 0; i < caseCount(3) && !HasFailure(); ++i) {
        const Array input = documents.largeMixedCollection();
        const std::string url = "/svc/res" + documents.searchAndOrder();
        SCOPED_TRACE("case " + std::to_string(i) + ", " + url + " on " + describe(input));
        // An empty page is out of range.
        const LogCapture log(Poco::Message::PRIO_NOTICE);
        std::size_t total = 0;
        const std::string exception = exceptionOf([&] { serialsOfPage(url + "&$limit=100", input, total); });
        if (exception == "none")
            expectPagesToFitTogether(url, input, 1 + random.below(20));
        else
            EXPECT_TRUE(doesPlainEvaluationThrow(exception, url, input)) << exception;
        ++(exception == "none" ? answered : refused);
    }
    EXPECT_GT(answered, caseCount(3) / 20);
    EXPECT_GT(refused, caseCount(3) / 20);
}

TEST(QueryRandom, AnswersLargeUniformCollectionsAsThePlainEvaluationDoes)
{
    RandomSource random;
    RandomDocuments documents(random);
    for (int i = 0; i < caseCount(10) && !HasFailure(); ++i) {
        const Array input = documents.uniformCollection();
        const std::string url = "/svc/res" + documents.query(true);
        SCOPED_TRACE("case " + std::to_string(i) + ", " + url + ", " + std::to_string(input.size()) +
                     " objects");
        expectEqual(productCollection(url, input, false), plainCollection(url, input, false));
    }
}

TEST(QueryRandom, AnswersOneObjectAsThePlainEvaluationDoes)
{
    RandomSource random;
    RandomDocuments documents(random);
    for (int i = 0; i < caseCount(40) && !HasFailure(); ++i) {
        const Object::Ptr input = documents.mixedObject();
        const std::string url = "/svc/res" + documents.query(false);
        SCOPED_TRACE("case " + std::to_string(i) + ", " + url + " on " + describe(input));
        expectEqual(productObject(url, *input), plainObject(url, *input));
    }
}
