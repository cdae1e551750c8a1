#include "Command/Query/FilterParameter.h"

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "RandomSource.h"

#include <Poco/RegularExpression.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;
using Test::LogCapture;
using Test::parseJson;
using Test::RandomSource;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string UUID = "0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4d";

std::string textOf(const FilterField& field)
{
    const Poco::SharedPtr<Paging> paging = field.getPaging();
    if (!paging)
        return "[" + field.getName() + "]";
    return "[" + field.getName() + " " + std::to_string(paging->getType()) + " '" + paging->getUUIDOffset() +
           "' " + std::to_string(paging->getNumberOffset()) + " " + std::to_string(paging->getLimit()) + "]";
}

std::string textOf(bool valid, const std::vector<FilterField>& fields)
{
    std::string text = valid ? "valid " : "invalid ";
    for (const FilterField& field : fields)
        text += textOf(field);
    return text;
}

std::string textOf(const FilterParameter& filter)
{
    return textOf(filter.isValid(), filter.getFields());
}

Object::Ptr objectOf(const std::string& json)
{
    return parseJson(json).extract<Object::Ptr>();
}

Array::Ptr arrayOf(const std::string& json)
{
    return parseJson(json).extract<Array::Ptr>();
}

std::string copied(const std::string& fields, const Object& source)
{
    Object result;
    FilterParameter(fields).applyFilter(source, result);
    return compact(result);
}

std::string cutInPlace(const std::string& fields, const std::string& json)
{
    Object::Ptr object = objectOf(json);
    FilterParameter(fields).applyFilter(*object);
    return compact(*object);
}

} // namespace

TEST(FilterField, HasANameAndPerhapsASlice)
{
    const FilterField plain("name");
    EXPECT_EQ(plain.getName(), "name");
    EXPECT_TRUE(plain.getPaging().isNull());

    const Poco::SharedPtr<Paging> paging(new Paging(1, 2));
    const FilterField paged("items", paging);
    EXPECT_EQ(paged.getName(), "items");
    EXPECT_EQ(paged.getPaging(), paging);

    Poco::SharedPtr<Paging> out(new Paging(3, 4));
    paged.getPaging(out);
    EXPECT_EQ(out, paging);
    plain.getPaging(out);
    EXPECT_TRUE(out.isNull());
}

TEST(FilterParameter, KeepsItsGrammarAsConstants)
{
    EXPECT_EQ(Zovi::FieldsPagingRegEx, "([^,\\(]+(\\(\\$offset:[0-9A-Fa-f-]+,\\$limit:[0-9-]+\\))?)");
    EXPECT_EQ(Zovi::FieldsPagingSubRegEx, "^\\(\\$offset:([0-9A-Fa-f-]+),\\$limit:([0-9-]+)\\)$");
}

TEST(FilterParameter, ReadsFieldsAndTheirSlices)
{
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        // names
        {"", "valid "},
        {"name", "valid [name]"},
        {"a,b", "valid [a][b]"},
        {"b,a,b", "valid [b][a][b]"},
        {"a,a", "valid [a][a]"},
        {"a,", "valid [a]"},
        {"a.b", "valid [a.b]"},
        {" a , b ", "valid [ a ][ b ]"},
        {"a)b$c:d\n", "valid [a)b$c:d\n]"},
        {std::string("a\0b", 3), "valid [" + std::string("a\0b", 3) + "]"},
        {"id,name,uri", "valid [id][name][uri]"},
        // slices
        {"items($offset:2,$limit:5)", "valid [items 2 '' 2 5]"},
        {"items($offset:-2,$limit:-5),b", "valid [items 2 '' -2 -5][b]"},
        {"a,items($offset:0,$limit:0),", "valid [a][items 0 '' 0 0]"},
        {"items($offset:" + UUID + ",$limit:5)", "valid [items 1 '" + UUID + "' 0 5]"},
        {"items($offset:0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D,$limit:5)",
         "valid [items 1 '0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D' 0 5]"},
        {"id($offset:0,$limit:1)", "valid [id 2 '' 0 1]"},
        {"a($offset:-,$limit:5)", "valid [a 2 '' 0 5]"},
        {"a($offset:1,$limit:500)", "valid [a 2 '' 1 100]"},
        // a text without any name never matches
        {",", "valid "},
        {",,,", "valid "},
        {"(", "valid "},
        {",(,(", "valid "},
        // stray characters in front that happen to leave the text in step
        {",,a", "valid [a][a]"},
        {",,,ab", "valid [ab][ab]"},
        {"(,a,b", "valid [a][a][b]"},
    };
    LogCapture log(Poco::Message::PRIO_ERROR);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(textOf(FilterParameter(row.text)), row.expected);
    }
}

TEST(FilterParameter, RefusesMistakesAndKeepsTheFieldsBeforeThem)
{
    struct Row {
        std::string text;
        std::string expected;
    };
    const Row rows[] = {
        // stray commas: the name behind them is read, then the text is out of step
        {"a,,b", "invalid [a][b]"},
        {",a", "invalid [a]"},
        {"(a", "invalid [a]"},
        {",,,,,,abc", "invalid [abc][abc]"},
        // slices that are none
        {"items($offset:2)", "invalid [items]"},
        {"items($limit:2,$offset:2)", "invalid [items]"},
        {"items($offset:2,$limit:)", "invalid [items]"},
        {"items($offset:,$limit:2)", "invalid [items]"},
        {"items($offset:2,$limit:f)", "invalid [items]"},
        {"items($offset:x,$limit:2)", "invalid [items]"},
        {"items($offset:2,$limit:2", "invalid [items]"},
        {"items($OFFSET:2,$limit:2)", "invalid [items]"},
        {"items()", "invalid [items]"},
        {"items($offset:2,$limit:2)x", "invalid [items 2 '' 2 2]"},
        {"items($offset:2,$limit:2)($offset:2,$limit:2)", "invalid [items 2 '' 2 2]"},
        // slices whose paging is invalid
        {"items($offset:abc,$limit:5)", "invalid "},
        {"a,items($offset:2,$limit:--),b", "invalid [a]"},
        {"a,b($offset:1-1,$limit:5)", "invalid [a]"},
    };
    LogCapture log;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(textOf(FilterParameter(row.text)), row.expected);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(FilterParameter, WarnsOfASliceThatIsTooLong)
{
    LogCapture log;
    const FilterParameter filter("a($offset:1,$limit:500)");
    EXPECT_THAT(log.texts(), ElementsAre("Warning: Reset paging limit to maximum allowed value (100)"));
}

TEST(FilterParameter, ReadsAHostileTextInProportionToItsLength)
{
    const std::string name(500, 'a');
    const FilterParameter filter(std::string(200000, ',') + name);
    EXPECT_FALSE(filter.isValid());
    EXPECT_EQ(filter.getFields().size(), 200000U / 501 + 1);
}

TEST(FilterParameter, AlwaysKeepsWhatIdentifiesAnObject)
{
    const std::string json = R"({"id":1,"name":2,"other":3,"uri":4})";
    for (const char* fields : {"", "name", "absent", "id,uri", "id($offset:0,$limit:0)"}) {
        SCOPED_TRACE(fields);
        EXPECT_EQ(copied(fields, *objectOf(json)), R"({"id":1,"name":2,"uri":4})");
        EXPECT_EQ(cutInPlace(fields, json), R"({"id":1,"name":2,"uri":4})");
    }
}

TEST(FilterParameter, SelectsTopLevelMembersByTheirWholeName)
{
    const std::string json = R"({"a":{"b":1},"a.b":2,"b":3,"B":4})";
    EXPECT_EQ(copied("a.b,B", *objectOf(json)), R"({"B":4,"a.b":2})");
    EXPECT_EQ(cutInPlace("a.b,B", json), R"({"B":4,"a.b":2})");
    EXPECT_EQ(copied("a", *objectOf(json)), R"({"a":{"b":1}})");
}

TEST(FilterParameter, AppliesTheFieldsReadBeforeAMistake)
{
    const FilterParameter filter("a,b(");
    EXPECT_FALSE(filter.isValid());
    Object result;
    filter.applyFilter(*objectOf(R"({"a":1,"b":2,"c":3,"id":4})"), result);
    EXPECT_EQ(compact(result), R"({"a":1,"b":2,"id":4})");
}

TEST(FilterParameter, CutsAnArrayInACopy)
{
    const Object::Ptr source = objectOf(R"({"items":[0,1,2,3,4],"rest":1})");
    Object result;
    FilterParameter("items($offset:1,$limit:2)").applyFilter(*source, result);
    EXPECT_EQ(compact(result), R"({"items":[1,2]})");
    EXPECT_TRUE(result.get("items").type() == typeid(Array::Ptr));
    EXPECT_EQ(compact(source), R"({"items":[0,1,2,3,4],"rest":1})");
}

TEST(FilterParameter, CopiesAnArrayThatItsSliceCovers)
{
    const Object::Ptr source = objectOf(R"({"items":[0,1]})");
    Object result;
    FilterParameter("items($offset:0,$limit:2)").applyFilter(*source, result);
    EXPECT_EQ(compact(result), R"({"items":[0,1]})");
    EXPECT_NE(result.getArray("items"), source->getArray("items"));
}

TEST(FilterParameter, CutsAnArrayHeldByValueInTheCopyingForm)
{
    Object source;
    source.set("items", *arrayOf("[0,1,2]"));
    Object result;
    FilterParameter("items($offset:1,$limit:1)").applyFilter(source, result);
    EXPECT_EQ(compact(result), R"({"items":[1]})");
    EXPECT_TRUE(result.get("items").type() == typeid(Array::Ptr));
    EXPECT_EQ(compact(source), R"({"items":[0,1,2]})");
}

TEST(FilterParameter, SharesEveryOtherValueInTheCopyingForm)
{
    const Object::Ptr source = objectOf(R"({"list":[1],"object":{"a":1}})");
    Object result;
    FilterParameter("list,object").applyFilter(*source, result);
    EXPECT_EQ(result.getArray("list"), source->getArray("list"));
    EXPECT_EQ(result.getObject("object"), source->getObject("object"));
}

TEST(FilterParameter, ClearsTheResultFirst)
{
    Object result;
    result.set("old", 1);
    FilterParameter("a").applyFilter(*objectOf(R"({"a":1})"), result);
    EXPECT_EQ(compact(result), R"({"a":1})");
}

TEST(FilterParameter, EmptiesACopiedArrayIfOnlyTheTotalIsAskedFor)
{
    EXPECT_EQ(copied("items($offset:2,$limit:0)", *objectOf(R"({"items":[0,1,2]})")), R"({"items":[]})");
}

TEST(FilterParameter, KeepsAPagedMemberThatIsNoArray)
{
    const std::string json = R"({"items":{"a":[1,2,3]},"n":null,"t":"text"})";
    const std::string fields = "items($offset:0,$limit:1),n($offset:0,$limit:1),t($offset:0,$limit:1)";
    EXPECT_EQ(copied(fields, *objectOf(json)), json);
    EXPECT_EQ(cutInPlace(fields, json), json);
}

TEST(FilterParameter, LetsTheFirstMentionOfANameCount)
{
    const std::string json = R"({"items":[0,1,2]})";
    EXPECT_EQ(copied("items,items($offset:1,$limit:1)", *objectOf(json)), json);
    EXPECT_EQ(copied("items($offset:1,$limit:1),items", *objectOf(json)), R"({"items":[1]})");
    EXPECT_EQ(copied("items($offset:1,$limit:1),items($offset:0,$limit:1)", *objectOf(json)),
              R"({"items":[1]})");
}

TEST(FilterParameter, NeverCutsWhatIdentifiesAnObject)
{
    const std::string json = R"({"id":[1,2,3],"name":[1,2,3],"uri":[1,2,3]})";
    const std::string fields = "id($offset:0,$limit:1),name($offset:0,$limit:1),uri($offset:0,$limit:0)";
    EXPECT_TRUE(FilterParameter(fields).isValid());
    EXPECT_EQ(copied(fields, *objectOf(json)), json);
    EXPECT_EQ(cutInPlace(fields, json), json);
}

TEST(FilterParameter, ThrowsOnANullArrayInTheCopyingForm)
{
    Object source;
    source.set("items", Array::Ptr());
    Object result;
    EXPECT_THROW(FilterParameter("items($offset:0,$limit:1)").applyFilter(source, result),
                 Poco::BadCastException);
    FilterParameter("items").applyFilter(source, result);
    EXPECT_TRUE(result.has("items"));
    FilterParameter("items($offset:0,$limit:1)").applyFilter(source);
    EXPECT_TRUE(source.has("items"));
}

TEST(FilterParameter, CutsASharedArrayInPlace)
{
    Object::Ptr target = objectOf(R"({"items":[0,1,2,3],"rest":1})");
    const Array::Ptr items = target->getArray("items");
    FilterParameter("items($offset:-1,$limit:-2)").applyFilter(*target);
    EXPECT_EQ(compact(*target), R"({"items":[2,3]})");
    EXPECT_EQ(compact(items), "[2,3]");
    EXPECT_EQ(target->getArray("items"), items);
}

TEST(FilterParameter, LeavesAnArrayHeldByValueWholeInPlace)
{
    Object object;
    object.set("items", *arrayOf("[0,1,2]"));
    FilterParameter("items($offset:1,$limit:1)").applyFilter(object);
    EXPECT_EQ(compact(object), R"({"items":[0,1,2]})");
}

TEST(FilterParameter, KeepsTheOrderOfInsertionInPlace)
{
    Object object(Poco::JSON_PRESERVE_KEY_ORDER);
    for (const char* key : {"z", "dropped", "name", "a", "id"})
        object.set(key, key);
    FilterParameter("a,z").applyFilter(object);
    EXPECT_EQ(compact(object), R"({"z":"z","name":"name","a":"a","id":"id"})");
}

TEST(FilterParameter, FiltersEachObjectOfAnArray)
{
    Array array = *arrayOf(R"([{"a":1,"b":2},{"b":3},4,null,[{"b":5}]])");
    Object held;
    held.set("b", 6);
    array.add(held);
    array.add(Object::Ptr());
    array.add("b");
    FilterParameter("a").applyFilter(array);
    EXPECT_EQ(array.size(), 8U);
    EXPECT_TRUE(array.getObject(6).isNull());
    array.remove(6);
    EXPECT_EQ(compact(array), R"([{"a":1},{},4,null,[{"b":5}],{"b":6},"b"])");
}

TEST(FilterParameter, FiltersTheObjectsBehindWhatIsNone)
{
    Array array = *arrayOf(R"([null,1,"b",[2],{"a":3,"b":4}])");
    array.add(Object::Ptr());
    array.add(arrayOf(R"([{"a":5,"b":6}])")->getObject(0));
    FilterParameter("a").applyFilter(array);
    EXPECT_EQ(compact(array.getObject(4)), R"({"a":3})");
    EXPECT_EQ(compact(array.getObject(6)), R"({"a":5})");
}

TEST(FilterParameter, FiltersAnEmptyArray)
{
    Array array;
    FilterParameter("a").applyFilter(array);
    EXPECT_TRUE(array.empty());
}

namespace
{

bool plainPagingParts(const std::string& input, std::string& offset, std::string& limit)
{
    const Poco::RegularExpression expression(Zovi::FieldsPagingSubRegEx, 0, true);
    std::vector<std::string> match;
    if (expression.split(input, 0, match, 0) != 3 || match.size() < 3)
        return false;
    offset = match[1];
    limit = match[2];
    return true;
}

/// Reads the fields with the two expressions.
bool plainFields(const std::string& parameter, std::vector<FilterField>& fields)
{
    std::string rest = parameter;
    const Poco::RegularExpression expression(Zovi::FieldsPagingRegEx, 0, true);
    std::vector<std::string> match;
    for (int count = expression.split(rest, 0, match, 0); count > 0;
         count = expression.split(rest, 0, match, 0)) {
        if (count == 2) {
            fields.emplace_back(match[1]);
        } else if (count == 3) {
            std::string offset;
            std::string limit;
            if (!plainPagingParts(match[2], offset, limit))
                return false;
            const Poco::SharedPtr<Paging> paging(new Paging(offset, limit));
            if (!paging->isValid())
                return false;
            fields.emplace_back(match[1].substr(0, match[1].find('(')), paging);
        } else {
            return false;
        }
        rest.erase(0, match[1].size());
        if (rest.empty())
            return true;
        if (rest.front() != ',')
            return false;
        rest.erase(0, 1);
    }
    return true;
}

std::string randomFields(RandomSource& random)
{
    static const std::vector<std::string> PARTS = {"a",
                                                   "b",
                                                   "bc",
                                                   "id",
                                                   ",",
                                                   ",",
                                                   ",",
                                                   "(",
                                                   ")",
                                                   "$",
                                                   ":",
                                                   "0",
                                                   "9",
                                                   "-",
                                                   "offset",
                                                   "limit",
                                                   "f",
                                                   "\n",
                                                   "($offset:",
                                                   ",$limit:",
                                                   "($offset:1,$limit:2)",
                                                   "($offset:-1,$limit:-2)",
                                                   "($offset:x,$limit:2)",
                                                   "($offset:1",
                                                   "$limit:",
                                                   UUID,
                                                   "($offset:" + UUID + ",$limit:3)",
                                                   std::string(1, '\0'),
                                                   "\xc3\xa4",
                                                   " "};
    std::string text;
    for (std::size_t count = random.below(14); count > 0; --count)
        text += random.pick(PARTS);
    return text;
}

} // namespace

TEST(FilterParameter, ReadsRandomTextsAsItsGrammarDoes)
{
    RandomSource random;
    LogCapture log(Poco::Message::PRIO_ERROR);
    int valid = 0;
    for (int round = 0; round < 30000; ++round) {
        const std::string text = randomFields(random);
        std::vector<FilterField> expected;
        const bool expectedValid = plainFields(text, expected);
        const FilterParameter filter(text);
        ASSERT_EQ(textOf(filter), textOf(expectedValid, expected))
            << "'" << text << "', round " << round << ", seed " << random.seed();
        valid += filter.isValid() ? 1 : 0;
    }
    EXPECT_GT(valid, 1000) << "the texts are too wild to test anything";
}

} // namespace Zovi::Command
