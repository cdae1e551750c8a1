#include "NoteResource.h"

#include "Elements.h"
#include "JsonMatchers.h"
#include "ServerMessages.h"
#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using Command::HTTPStatus;
using ::testing::HasSubstr;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::ServerRequest;
using Zovi::Test::toJson;

namespace
{

const ServiceKit::Reference HOST = ServiceKit::rootReference(Poco::UUID::dns()).child("host");

class NoteResourceTest : public testing::Test
{
protected:
    Command::HttpResponse write(const std::string& method, const std::string& url,
                                const std::string& body = "", const std::string& ifMatch = "")
    {
        ServerRequest request(method, url, body);
        if (!body.empty())
            request.setContentLength(static_cast<std::streamsize>(body.size()));
        if (!ifMatch.empty())
            request.set("If-Match", ifMatch);
        return notes.write(Command::HttpRequest(request));
    }

    /// Makes a note and gives its address.
    std::string make(const std::string& body) { return write("POST", "/host/notes", body).getLocation(); }

    void expectRefusal(const std::string& method, const std::string& url, const std::string& body,
                       HTTPStatus status, const std::string& message, const std::string& ifMatch = "")
    {
        const std::string before = compact(toJson(notes.elements()));
        try {
            write(method, url, body, ifMatch);
            ADD_FAILURE() << "not refused";
        } catch (const ServiceKit::RequestError& refusal) {
            EXPECT_EQ(refusal.status(), status);
            EXPECT_EQ(refusal.what(), message);
        }
        EXPECT_EQ(compact(toJson(notes.elements())), before);
    }

    std::int64_t time = 1000;
    NoteResource notes{HOST, std::make_shared<NoteStore>(":memory:"), [this] { return time; }, 2};
};

} // namespace

TEST_F(NoteResourceTest, MakesANoteAndTellsItsAddress)
{
    const auto answer = write("POST", "/host/notes", R"({"name":"Milk","text":"Two.","pinned":true})");
    EXPECT_EQ(answer.getStatus(), HTTPStatus::HTTP_CREATED);
    ASSERT_EQ(notes.elements().size(), 1U);
    const std::string id = notes.elements().front()->getId().toString();
    EXPECT_EQ(answer.getLocation(), "/host/notes/" + id);
    const std::string note =
        R"({"created":1000,"id":")" + id +
        R"(","modified":1000,"name":"Milk","pinned":true,"text":"Two.","uri":"/host/notes/)" + id + "\"}";
    EXPECT_THAT(compact(answer.getJson()->getObject("data")), IsJson(note));
    EXPECT_THAT(compact(notes.element(Poco::UUID(id))->toJSON(0)), IsJson(note));
    EXPECT_TRUE(notes.element(Poco::UUID::dns()).isNull());
}

TEST_F(NoteResourceTest, GivesEveryNoteAnIdOfItsOwn)
{
    EXPECT_NE(make(R"({"name":"a"})"), make(R"({"name":"a"})"));
}

TEST_F(NoteResourceTest, ReplacesAllThatANoteSays)
{
    const std::string address = make(R"({"name":"Milk","text":"Two.","pinned":true})");
    time = 2000;
    const auto answer = write("PUT", address, R"({"name":"Tea"})", "*");
    EXPECT_EQ(answer.getStatus(), HTTPStatus::HTTP_OK);
    const std::string id = notes.elements().front()->getId().toString();
    const std::string note = R"({"created":1000,"id":")" + id +
                             R"(","modified":2000,"name":"Tea","pinned":false,"text":"","uri":")" + address +
                             "\"}";
    EXPECT_THAT(compact(answer.getJson()->getObject("data")), IsJson(note));
    EXPECT_THAT(compact(notes.elements().front()->toJSON(0)), IsJson(note));
}

TEST_F(NoteResourceTest, RemovesANote)
{
    const std::string address = make(R"({"name":"a"})");
    const auto answer = write("DELETE", address);
    EXPECT_EQ(answer.getStatus(), HTTPStatus::HTTP_OK);
    EXPECT_THAT(compact(answer.getJson()), IsJson(R"({"status":"ok"})"));
    EXPECT_TRUE(notes.elements().empty());
}

TEST_F(NoteResourceTest, LeavesEverythingAsItIsWhenItRefuses)
{
    const std::string address = make(R"({"name":"a"})");
    const std::string nobody = "/host/notes/00000000-0000-4000-8000-000000000001";
    const std::string absence = "/host/notes has no element '00000000-0000-4000-8000-000000000001'";
    expectRefusal("POST", "/host/notes", "{}", HTTPStatus::HTTP_BAD_REQUEST, "'name' is missing");
    expectRefusal("PUT", address, R"({"name":"b","id":"x"})", HTTPStatus::HTTP_BAD_REQUEST,
                  "'id' cannot be set, only 'name', 'text' and 'pinned' can");
    expectRefusal("PUT", nobody, R"({"name":"b"})", HTTPStatus::HTTP_NOT_FOUND, absence);
    expectRefusal("DELETE", nobody, "", HTTPStatus::HTTP_NOT_FOUND, absence);
    expectRefusal("DELETE", address + "x", "", HTTPStatus::HTTP_NOT_FOUND,
                  "/host/notes has no element '" + address.substr(12) + "x'");
    const std::string weak = "'If-Match' cannot be granted, since the tags of the answers are weak";
    for (const std::string tag : {"\"0\"", "W/\"00000000\"", "x"}) {
        SCOPED_TRACE(tag);
        expectRefusal("PUT", address, R"({"name":"b"})", HTTPStatus::HTTP_PRECONDITION_FAILED, weak, tag);
        expectRefusal("DELETE", address, "", HTTPStatus::HTTP_PRECONDITION_FAILED, weak, tag);
    }
    make(R"({"name":"b"})");
    expectRefusal("POST", "/host/notes", R"({"name":"c"})", HTTPStatus::HTTP_CONFLICT,
                  "there are 2 notes already, delete one first");
}

TEST_F(NoteResourceTest, TellsOfEveryChangeAndOfNothingElse)
{
    class Counter : public ServiceKit::ChangeListener
    {
    public:
        void onChanged(const ServiceKit::Resource&) override { ++changes; }
        int changes = 0;
    };
    const auto counter = std::make_shared<Counter>();
    notes.addChangeListener(counter);
    EXPECT_TRUE(notes.tellsOfChanges());
    const std::string address = make(R"({"name":"a"})");
    EXPECT_EQ(counter->changes, 1);
    write("PUT", address, R"({"name":"b"})");
    EXPECT_EQ(counter->changes, 2);
    expectRefusal("PUT", address, "{}", HTTPStatus::HTTP_BAD_REQUEST, "'name' is missing");
    EXPECT_EQ(counter->changes, 2);
    write("DELETE", address);
    EXPECT_EQ(counter->changes, 3);
}

TEST_F(NoteResourceTest, TellsWhatMayBeDone)
{
    EXPECT_EQ(notes.collectionMethods().toHeader(), "GET, HEAD, POST");
    EXPECT_EQ(notes.elementMethods().toHeader(), "GET, HEAD, PUT, DELETE");
}

TEST_F(NoteResourceTest, SpecifiesEveryAttributeItGives)
{
    make(R"({"name":"a"})");
    const auto attributes = notes.specification()->getObject("attributes");
    EXPECT_EQ(attributes->getNames(), notes.elements().front()->toJSON(0)->getNames());
    EXPECT_THAT(compact(attributes), HasSubstr("200 characters"));
    EXPECT_THAT(compact(attributes), HasSubstr("10000 characters"));
}

TEST(NoteResource, KnowsTheTimeOfTheMachine)
{
    EXPECT_GT(currentTime(), 1'700'000'000'000);
}

} // namespace Zovi::Host
