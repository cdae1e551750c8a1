#include "ServiceKit/StaticFolder.h"

#include <Poco/Exception.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

template <typename Operation>
std::string refusalOf(Operation operation)
{
    try {
        operation();
    } catch (const Poco::InvalidArgumentException& failure) {
        return failure.message();
    }
    return "no refusal";
}

} // namespace

TEST(StaticFolder, KeepsWhatWasAdded)
{
    StaticFolder folder("explorer");
    folder.add("index.html", "<p>");
    EXPECT_EQ(folder.name(), "explorer");
    ASSERT_NE(folder.find("index.html"), nullptr);
    EXPECT_EQ(folder.find("index.html")->content, "<p>");
}

TEST(StaticFolder, HasOnlyWhatWasAdded)
{
    StaticFolder folder("explorer");
    folder.add("index.html", "");
    for (const std::string name : {"", "Index.html", "index.htm", "../index.html", "explorer/index.html"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(folder.find(name), nullptr);
    }
}

TEST(StaticFolder, TellsTheMediaTypeByTheEndOfTheName)
{
    const struct {
        std::string name;
        std::string mediaType;
    } rows[] = {
        {"a.html", "text/html; charset=utf-8"},
        {"a.js", "text/javascript; charset=utf-8"},
        {"a.css", "text/css; charset=utf-8"},
        {"a.svg", "image/svg+xml; charset=utf-8"},
        {"a.png", "image/png"},
        {"a.min.json", "application/json; charset=utf-8"},
    };
    StaticFolder folder("f");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        folder.add(row.name, "");
        EXPECT_EQ(folder.find(row.name)->mediaType, row.mediaType);
    }
}

TEST(StaticFolder, RefusesFilesThatCannotBeServed)
{
    const struct {
        std::string name;
        std::string message;
    } rows[] = {
        // no address
        {"", "Not usable as an address: '/cdn/explorer/'"},
        {"a b.js", "Not usable as an address: '/cdn/explorer/a b.js'"},
        {"lib/a.js", "Not usable as an address: '/cdn/explorer/lib/a.js'"},
        {"../a.js", "Not usable as an address: '/cdn/explorer/../a.js'"},
        {"id", "Not usable as an address: '/cdn/explorer/id'"},
        // no known type
        {"a.exe", "No known media type: 'a.exe'"},
        {"a.JS", "No known media type: 'a.JS'"},
        {"html", "No known media type: 'html'"},
        // there already
        {"taken.js", "Name is taken: 'taken.js'"},
    };
    StaticFolder folder("explorer");
    folder.add("taken.js", "");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(refusalOf([&] { folder.add(row.name, ""); }), row.message);
    }
}

TEST(StaticFolder, RefusesANameThatIsNoAddress)
{
    EXPECT_EQ(refusalOf([] { StaticFolder("a b"); }), "Not usable as an address: '/cdn/a b/index.html'");
    EXPECT_EQ(refusalOf([] { StaticFolder(""); }), "Not usable as an address: '/cdn//index.html'");
}

TEST(StaticFolder, TellsAddressesOfFilesFromOthers)
{
    EXPECT_TRUE(isStaticFile(Command::UrlPath(std::string("/cdn/explorer/index.html"))));
    EXPECT_TRUE(isStaticFile(Command::UrlPath(std::string("/api/v1/cdn/explorer/index.html"))));
    const std::vector<std::string> others{"/",
                                          "/cdn",
                                          "/cdn/explorer",
                                          "/cdn/explorer/id",
                                          "/cdn/a/b/c.js",
                                          "/host/explorer/index.html",
                                          "/host/processes/11111111-2222-3333-4444-555555555555"};
    for (const std::string& other : others) {
        SCOPED_TRACE(other);
        EXPECT_FALSE(isStaticFile(Command::UrlPath(other)));
    }
}

} // namespace Zovi::ServiceKit
