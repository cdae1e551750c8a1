#include "ContentHash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

using Zovi::Net::ContentHash;

namespace
{

std::uint32_t hashOf(const std::string& text)
{
    ContentHash hash;
    hash.add(text.data(), text.size());
    return hash.value();
}

} // namespace

TEST(ContentHash, DoesNotDependOnHowTheBytesAreSplit)
{
    std::string text;
    for (int i = 0; i < 61; ++i)
        text += static_cast<char>('a' + i % 26);
    for (std::size_t piece = 1; piece <= text.size(); ++piece) {
        SCOPED_TRACE(piece);
        ContentHash hash;
        for (std::size_t begin = 0; begin < text.size(); begin += piece)
            hash.add(text.data() + begin, std::min(piece, text.size() - begin));
        EXPECT_EQ(hash.value(), hashOf(text));
    }
}

TEST(ContentHash, TellsApartTextsThatDifferInLengthAlone)
{
    std::set<std::uint32_t> hashes;
    for (std::size_t length = 0; length < 40; ++length)
        hashes.insert(hashOf(std::string(length, '\0')));
    EXPECT_EQ(hashes.size(), 40U);
}

TEST(ContentHash, GoesOnAfterItsValueWasAsked)
{
    ContentHash hash;
    hash.add("abc", 3);
    EXPECT_EQ(hash.value(), hashOf("abc"));
    hash.add("defghijkl", 9);
    EXPECT_EQ(hash.value(), hashOf("abcdefghijkl"));
}
