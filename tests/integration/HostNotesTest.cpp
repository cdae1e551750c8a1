#include "HostProgram.h"
#include "JsonMatchers.h"
#include "RawClient.h"
#include "TemporaryFolder.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Zovi::Test::HostProgram;
using Zovi::Test::parseJson;
using Zovi::Test::RawAnswer;
using Zovi::Test::RawClient;
using Zovi::Test::TemporaryFolder;

std::string request(const std::string& method, const std::string& url, const std::string& body = "",
                    const std::string& headers = "")
{
    const std::string length = body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return method + " " + url + " HTTP/1.1\r\nHost: localhost\r\n" + headers + length + "\r\n" + body;
}

RawAnswer ask(RawClient& client, const std::string& text)
{
    client.send(text);
    return client.receive();
}

std::string named(const std::string& name)
{
    return "{\"name\":\"" + name + "\",\"text\":\"" + std::string(2000, 'x') + "\"}";
}

/// The names of all notes by their addresses.
std::map<std::string, std::string> notesOf(const Poco::Net::SocketAddress& address)
{
    std::map<std::string, std::string> notes;
    RawClient client(address);
    for (std::string url = "/host/notes?$limit=100"; !url.empty();) {
        const auto document =
            parseJson(ask(client, request("GET", url)).body).extract<Poco::JSON::Object::Ptr>();
        for (const auto& entry : *document->getArray("data")) {
            const auto& note = entry.extract<Poco::JSON::Object::Ptr>();
            notes[note->getValue<std::string>("uri")] = note->getValue<std::string>("name");
            EXPECT_EQ(note->getValue<std::string>("text").size(), 2000U);
        }
        const auto paging = document->getObject("paging");
        url = paging ? paging->optValue<std::string>("next", "") : "";
    }
    return notes;
}

} // namespace

TEST(HostNotes, AreWrittenOverHttp)
{
    HostProgram program;
    const Poco::Net::SocketAddress address = program.waitForAddress();
    RawClient client(address);
    const RawAnswer made = ask(client, request("POST", "/host/notes", named("a")));
    EXPECT_EQ(made.status, 201);
    const std::string url = made.header("location");
    EXPECT_THAT(url, StartsWith("/host/notes/"));
    EXPECT_EQ(ask(client, request("GET", url)).status, 200);
    EXPECT_THAT(ask(client, request("PUT", url, named("b"))).body, HasSubstr("\"name\":\"b\""));
    EXPECT_THAT(ask(client, request("GET", "/host/notes?name=b")).body, HasSubstr(url));
    EXPECT_EQ(ask(client, request("POST", "/host/notes", "{}")).status, 400);
    EXPECT_EQ(ask(client, request("PUT", url, named("c"), "If-Match: \"x\"\r\n")).status, 412);
    EXPECT_EQ(ask(client, request("DELETE", url)).status, 200);
    EXPECT_EQ(ask(client, request("DELETE", url)).status, 404);
    EXPECT_EQ(ask(client, request("GET", url)).status, 404);
    RawClient stranger(address);
    EXPECT_EQ(
        ask(stranger, request("POST", "/host/notes", named("a"), "Origin: http://evil.example\r\n")).status,
        403);
}

TEST(HostNotes, SurviveAKillAtAnyMoment)
{
    const TemporaryFolder folder;
    std::map<std::string, std::string> acknowledged;
    for (int round = 0; round < 5; ++round) {
        HostProgram program({"--port", "0", "--database", folder.file("notes.sqlite")});
        RawClient client(program.waitForAddress());
        for (int i = 0; i < 8; ++i) {
            const std::string name = std::to_string(round) + "." + std::to_string(i);
            const RawAnswer made = ask(client, request("POST", "/host/notes", named(name)));
            ASSERT_EQ(made.status, 201);
            acknowledged[made.header("location")] = name;
        }
        const std::string changed = acknowledged.begin()->first;
        ASSERT_EQ(ask(client, request("PUT", changed, named("changed"))).status, 200);
        acknowledged[changed] = "changed";
        const std::string removed = acknowledged.rbegin()->first;
        ASSERT_EQ(ask(client, request("DELETE", removed)).status, 200);
        acknowledged.erase(removed);
        // What is under way when it ends may be kept or not, but whole.
        client.send(request("POST", "/host/notes", named("late")));
        program.sendSignal(SIGKILL);
        program.wait();
    }
    HostProgram program({"--port", "0", "--database", folder.file("notes.sqlite")});
    std::map<std::string, std::string> kept = notesOf(program.waitForAddress());
    for (auto note = kept.begin(); note != kept.end();)
        note = note->second == "late" ? kept.erase(note) : std::next(note);
    EXPECT_EQ(kept, acknowledged);
}

TEST(HostNotes, AreRefusedAndKeptWhereTheirFileMayNotGrow)
{
    const TemporaryFolder folder;
    Zovi::Test::Program program("/bin/sh",
                                {"-c", R"(ulimit -f 128; exec "$0" "$@")", KYR_HOST_PROGRAM, "--port", "0",
                                 "--no-registry", "--database", folder.file("notes.sqlite")});
    const Poco::Net::SocketAddress address = HostProgram::addressIn(program.readLine());
    std::map<std::string, std::string> acknowledged;
    RawAnswer answer;
    for (int i = 0; i < 100 && answer.status != 500; ++i) {
        RawClient client(address);
        answer = ask(client, request("POST", "/host/notes", named(std::to_string(i))));
        if (answer.status == 201)
            acknowledged[answer.header("location")] = std::to_string(i);
    }
    EXPECT_EQ(answer.status, 500);
    EXPECT_FALSE(acknowledged.empty());
    EXPECT_EQ(notesOf(address), acknowledged);
}

TEST(HostNotes, AreThereAfterACleanEnd)
{
    const TemporaryFolder folder;
    std::string url;
    {
        HostProgram program({"--port", "0", "--database", folder.file("notes.sqlite")});
        RawClient client(program.waitForAddress());
        url = ask(client, request("POST", "/host/notes", named("a"))).header("location");
        program.sendSignal(SIGTERM);
        EXPECT_EQ(program.wait(), 0);
    }
    HostProgram program({"--port", "0", "--database", folder.file("notes.sqlite")});
    RawClient client(program.waitForAddress());
    EXPECT_EQ(ask(client, request("GET", url)).status, 200);
}

TEST(HostNotes, AreKeptInTheStateFolder)
{
    const TemporaryFolder folder;
    const std::string state = folder.file("notes.sqlite") + ".d";
    HostProgram program({"--port", "0", "--no-registry"}, {{"STATE_DIRECTORY", state}});
    RawClient client(program.waitForAddress());
    EXPECT_EQ(ask(client, request("POST", "/host/notes", named("a"))).status, 201);
    EXPECT_TRUE(std::filesystem::exists(state + "/notes.sqlite"));
}

TEST(HostNotes, AreMissedWhereNothingCanBeKept)
{
    const TemporaryFolder folder;
    std::ofstream(folder.file("notes.sqlite")) << "in the way";
    HostProgram program({"--port", "0", "--no-registry"}, {{"STATE_DIRECTORY", folder.file("notes.sqlite")}});
    RawClient client(program.waitForAddress());
    EXPECT_EQ(ask(client, request("GET", "/host/notes")).status, 404);
    EXPECT_EQ(ask(client, request("GET", "/host/interfaces")).status, 200);
    program.sendSignal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_THAT(program.restOfErrors(), StartsWith("kyr-host: serves no notes: "));
}

TEST(HostNotes, KeepTheProgramFromStartingIfTheirFileIsNoGood)
{
    HostProgram program({"--port", "0", "--database", "/no/such/folder/notes"});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.restOfErrors(), StartsWith("kyr-host: cannot keep notes in /no/such/folder/notes: "));
}
