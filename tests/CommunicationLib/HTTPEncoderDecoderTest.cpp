#include "HTTPEncoderDecoder.h"

#include "RandomSource.h"
#include "ServerMessages.h"

#include <Poco/DeflatingStream.h>
#include <Poco/Exception.h>
#include <Poco/InflatingStream.h>
#include <Poco/StreamCopier.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace Zovi::Net
{
namespace
{

using Poco::Net::HTTPResponse;
using Test::RandomSource;
using Test::ServerRequest;
using Test::ServerResponse;
using testing::StartsWith;

const std::string TEXT =
    R"({"text":"a body, or part of a body, long enough to be worth a coding: 0123456789"})";

// gzip and zlib data that hold no byte at all
const std::string EMPTY_GZIP("\x1f\x8b\x08\0\0\0\0\0\0\x03\x03\0\0\0\0\0\0\0\0\0", 20);
const std::string EMPTY_DEFLATE("\x78\x9c\x03\0\0\0\0\x01", 8);

std::string encoded(const std::string& coding, const std::string& text)
{
    if (text.empty())
        return coding == "gzip" ? EMPTY_GZIP : EMPTY_DEFLATE;
    std::ostringstream result;
    Poco::DeflatingOutputStream coder(result, coding == "gzip" ? Poco::DeflatingStreamBuf::STREAM_GZIP
                                                               : Poco::DeflatingStreamBuf::STREAM_ZLIB);
    coder << text;
    coder.close();
    return result.str();
}

std::string decoded(const std::string& coding, const std::string& bytes)
{
    std::istringstream source(bytes);
    Poco::InflatingInputStream decoder(source, coding == "gzip" ? Poco::InflatingStreamBuf::STREAM_GZIP
                                                                : Poco::InflatingStreamBuf::STREAM_ZLIB);
    decoder.exceptions(std::ios_base::badbit);
    std::string text;
    Poco::StreamCopier::copyToString(decoder, text);
    return text;
}

std::string randomBytes(RandomSource& random, std::size_t length)
{
    std::string bytes(length, '\0');
    for (char& byte : bytes)
        byte = random.byte();
    return bytes;
}

/// Gives a body in small reads and notes how it is read.
class StepwiseBuf : public std::streambuf
{
public:
    explicit StepwiseBuf(std::string body, std::size_t step = 1)
        : m_body(std::move(body))
        , m_step(step)
    {
    }

    std::size_t given() const { return m_given; }
    int readsPastTheEnd() const { return m_readsAtEnd > 0 ? m_readsAtEnd - 1 : 0; }

protected:
    int_type underflow() override
    {
        if (m_given == m_body.size()) {
            ++m_readsAtEnd;
            return traits_type::eof();
        }
        const std::size_t length = std::min(m_step, m_body.size() - m_given);
        setg(&m_body[m_given], &m_body[m_given], &m_body[m_given] + length);
        m_given += length;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string m_body;
    std::size_t m_step;
    std::size_t m_given = 0;
    int m_readsAtEnd = 0;
};

/// A connection that breaks behind the first bytes of a body.
class BreakingBuf : public std::stringbuf
{
public:
    using std::stringbuf::stringbuf;

protected:
    int_type underflow() override { throw Poco::TimeoutException("the peer is silent"); }
};

// What a request handler does: the whole body, copied in pieces.
std::string readBody(HTTPEncoderDecoder& coder, ServerRequest& request)
{
    std::ostringstream body;
    Poco::StreamCopier::copyStream(coder.getInputStream(request.stream()), body, 8192);
    return body.str();
}

std::string readBody(ServerRequest& request)
{
    HTTPEncoderDecoder coder(request, request.response());
    return readBody(coder, request);
}

std::string readCodedBody(const std::string& coding, const std::string& body)
{
    ServerRequest request("POST", "/", body);
    request.set("Content-Encoding", coding);
    return readBody(request);
}

// The text of the `Poco::DataFormatException` that reading ends in.
std::string refusal(const std::string& coding, const std::string& body)
{
    try {
        return "no exception, but " + readCodedBody(coding, body);
    } catch (const Poco::DataFormatException& failure) {
        return failure.message();
    }
}

TEST(HTTPEncoderDecoder, PassesAnUncodedBodyOn)
{
    for (const std::string coding : {"identity", "IDENTITY", "", " , ", "identity, identity"}) {
        SCOPED_TRACE(coding);
        EXPECT_EQ(readCodedBody(coding, TEXT), TEXT);
        EXPECT_EQ(readCodedBody(coding, ""), "");
    }
    ServerRequest request("POST", "/", TEXT);
    EXPECT_EQ(readBody(request), TEXT);
}

TEST(HTTPEncoderDecoder, UndoesACodingByItsName)
{
    for (const std::string coding :
         {"gzip", "GZip", "x-gzip", "X-GZIP", " gzip ", "identity, gzip", "gzip,"}) {
        SCOPED_TRACE(coding);
        EXPECT_EQ(readCodedBody(coding, encoded("gzip", TEXT)), TEXT);
    }
    for (const std::string coding : {"deflate", "Deflate"}) {
        SCOPED_TRACE(coding);
        EXPECT_EQ(readCodedBody(coding, encoded("deflate", TEXT)), TEXT);
    }
}

TEST(HTTPEncoderDecoder, ReadsTheNamesOfAllHeaderLines)
{
    ServerRequest request("POST", "/", encoded("gzip", TEXT));
    request.add("content-encoding", "identity");
    request.add("CONTENT-ENCODING", "gzip");
    EXPECT_EQ(readBody(request), TEXT);
}

TEST(HTTPEncoderDecoder, UndoesBodiesOfAnyLength)
{
    RandomSource random;
    std::vector<std::size_t> lengths = {0, 1, 2, 1000, 100000, 1000000};
    // random bytes grow a little when they are coded: around the pieces that are read at a time
    for (const std::size_t piece : {8192U, 16384U, 32768U}) {
        for (std::size_t length = piece - 40; length < piece + 10; ++length)
            lengths.push_back(length);
    }
    for (const std::size_t length : lengths) {
        SCOPED_TRACE(length);
        const std::string incompressible = randomBytes(random, length);
        const std::string compressible(length, 'x');
        for (const std::string coding : {"gzip", "deflate"}) {
            EXPECT_TRUE(readCodedBody(coding, encoded(coding, incompressible)) == incompressible);
            EXPECT_TRUE(readCodedBody(coding, encoded(coding, compressible)) == compressible);
        }
    }
}

TEST(HTTPEncoderDecoder, UndoesABodyThatComesByteByByte)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        for (const std::size_t step : {1U, 2U, 7U, 16383U, 16384U}) {
            StepwiseBuf body(encoded(coding, TEXT), step);
            ServerRequest request("POST");
            request.set("Content-Encoding", coding);
            request.setBodyBuffer(body);
            EXPECT_EQ(readBody(request), TEXT) << coding << " in steps of " << step;
        }
    }
}

TEST(HTTPEncoderDecoder, TouchesTheSourceNoMoreOnceItHasEnded)
{
    // behind the end of a chunked body stands the next request
    for (const std::string coding : {"gzip", "deflate", "identity"}) {
        SCOPED_TRACE(coding);
        StepwiseBuf body(coding == "identity" ? TEXT : encoded(coding, TEXT));
        ServerRequest request("POST");
        request.set("Content-Encoding", coding);
        request.setBodyBuffer(body);
        HTTPEncoderDecoder coder(request, request.response());
        EXPECT_EQ(readBody(coder, request), TEXT);
        EXPECT_EQ(request.stream().get(), std::char_traits<char>::eof());
        EXPECT_EQ(body.readsPastTheEnd(), 0);
    }
}

TEST(HTTPEncoderDecoder, RefusesABodyThatIsCutAnywhere)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        const std::string whole = encoded(coding, TEXT);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            EXPECT_EQ(refusal(coding, whole.substr(0, length)), "The " + coding + " body ends early")
                << "after " << length << " bytes";
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesALongBodyThatIsCutAnywhere)
{
    RandomSource random;
    for (const std::string coding : {"gzip", "deflate"}) {
        const std::string whole = encoded(coding, randomBytes(random, 40000) + std::string(100000, 'x'));
        for (std::size_t length = 0; length < whole.size(); length += 37) {
            EXPECT_EQ(refusal(coding, whole.substr(0, length)), "The " + coding + " body ends early")
                << "after " << length << " bytes";
        }
    }
}

// Bytes of which some bits carry nothing and are checked by nothing: flags, time, level and system in a gzip
// header, the level in a zlib header together with its check bits, and the bits that fill up the last byte of
// the data.
bool isCoveredByNothing(const std::string& coding, std::size_t position, std::size_t length)
{
    if (coding == "gzip")
        return (position >= 3 && position < 10) || position == length - 9;
    return position == 1 || position == length - 5;
}

TEST(HTTPEncoderDecoder, NeverTakesADamagedBodyForAnother)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        const std::string whole = encoded(coding, TEXT);
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (unsigned change = 1; change < 256; ++change) {
                std::string damaged = whole;
                damaged[i] = static_cast<char>(static_cast<unsigned char>(damaged[i]) ^ change);
                try {
                    // Time, system and the like in a gzip header are covered by nothing; the text must be
                    // right.
                    EXPECT_EQ(readCodedBody(coding, damaged), TEXT) << coding << " byte " << i;
                    EXPECT_TRUE(isCoveredByNothing(coding, i, whole.size())) << coding << " byte " << i;
                } catch (const Poco::DataFormatException&) {
                    continue;
                }
            }
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesRandomDamage)
{
    RandomSource random;
    const std::string text = randomBytes(random, 500) + std::string(40000, 'x') + randomBytes(random, 500);
    for (const std::string coding : {"gzip", "deflate"}) {
        const std::string whole = encoded(coding, text);
        for (int round = 0; round < 500; ++round) {
            std::string damaged = whole;
            const std::size_t first = 10 + random.below(damaged.size() - 10);
            damaged.replace(first, random.below(20), randomBytes(random, random.below(20)));
            if (damaged == whole)
                continue;
            EXPECT_THAT(refusal(coding, damaged), StartsWith("The " + coding + " body "))
                << "round " << round;
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesWhatFollowsACodedBody)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        const std::string whole = encoded(coding, TEXT);
        const std::string other = encoded(coding, std::string(100000, 'y'));
        const std::string tails[] = {"x", std::string(1, '\0'), std::string(100000, '\0'), whole, other,
                                     // the check sum again, as at the end of a body that is whole
                                     whole.substr(whole.size() - 8)};
        for (const std::string& tail : tails) {
            EXPECT_EQ(refusal(coding, whole + tail), "The " + coding + " body is followed by other data")
                << tail.size() << " bytes";
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesWhatIsInAnotherFormat)
{
    RandomSource random;
    const std::string rawDeflate = encoded("deflate", TEXT).substr(2);
    const std::string withDictionary("\x78\xbb\0\0\0\x01\x03\0\0\0\0\x01", 12);
    for (const std::string& body : {TEXT, rawDeflate, withDictionary, randomBytes(random, 1000)}) {
        EXPECT_THAT(refusal("gzip", body), StartsWith("The gzip body is damaged"));
        EXPECT_THAT(refusal("deflate", body), StartsWith("The deflate body is damaged"));
    }
    EXPECT_THAT(refusal("gzip", encoded("deflate", TEXT)), StartsWith("The gzip body is damaged"));
    EXPECT_THAT(refusal("deflate", encoded("gzip", TEXT)), StartsWith("The deflate body is damaged"));
}

TEST(HTTPEncoderDecoder, RefusesABodyThatFallsShortOfItsLength)
{
    for (const std::string coding : {"identity", "gzip", "deflate"}) {
        const std::string whole = coding == "identity" ? TEXT : encoded(coding, TEXT);
        for (std::size_t length = 0; length <= whole.size(); ++length) {
            SCOPED_TRACE(coding + " of " + std::to_string(length) + " bytes");
            ServerRequest request("PUT", "/", whole.substr(0, length));
            request.set("Content-Encoding", coding);
            request.setContentLength64(static_cast<Poco::Int64>(whole.size()));
            if (length == whole.size())
                EXPECT_EQ(readBody(request), TEXT);
            else
                EXPECT_THROW(readBody(request), Poco::DataFormatException);
        }
    }
}

TEST(HTTPEncoderDecoder, HoldsAChunkedBodyToNoLength)
{
    ServerRequest request("POST", "/", TEXT);
    request.setContentLength(100000);
    request.setChunkedTransferEncoding(true);
    EXPECT_EQ(readBody(request), TEXT);
}

TEST(HTTPEncoderDecoder, TakesNoBytesForACodedBodyOnlyIfNoneWereAnnounced)
{
    struct Row {
        std::string method;
        std::optional<int> length;
        bool isChunked;
        bool isAccepted;
    };
    const Row rows[] = {
        {"GET", {}, false, true},    {"HEAD", {}, false, true}, {"DELETE", {}, false, true},
        {"POST", 0, false, true},    {"PUT", 0, false, true},   {"GET", 0, false, true},
        {"POST", {}, false, false},  {"PUT", {}, false, false}, {"GET", {}, true, false},
        {"DELETE", 1, false, false}, {"POST", {}, true, false}, {"POST", 20, false, false},
    };
    for (const Row& row : rows) {
        for (const std::string coding : {"gzip", "deflate"}) {
            ServerRequest request(row.method);
            request.set("Content-Encoding", coding);
            if (row.length)
                request.setContentLength(*row.length);
            if (row.isChunked)
                request.setChunkedTransferEncoding(true);
            SCOPED_TRACE(row.method + " " + request.get("Content-Length", "") + " " + coding);
            if (row.isAccepted)
                EXPECT_EQ(readBody(request), "");
            else
                EXPECT_THROW(readBody(request), Poco::DataFormatException);
        }
    }
}

TEST(HTTPEncoderDecoder, PassesOnWhatTheSourceThrows)
{
    for (const std::string coding : {"identity", "gzip", "deflate"}) {
        const std::string whole = coding == "identity" ? TEXT : encoded(coding, TEXT);
        for (const std::size_t length : {std::size_t(0), std::size_t(1), whole.size() / 2, whole.size()}) {
            SCOPED_TRACE(coding + " after " + std::to_string(length) + " bytes");
            BreakingBuf body(whole.substr(0, length));
            ServerRequest request("POST");
            request.set("Content-Encoding", coding);
            request.setBodyBuffer(body);
            EXPECT_THROW(readBody(request), Poco::TimeoutException);
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesASourceThatHasFailedBefore)
{
    ServerRequest request("POST", "/", TEXT);
    request.stream().setstate(std::ios_base::badbit);
    EXPECT_THROW(readBody(request), Poco::IOException);
}

TEST(HTTPEncoderDecoder, NamesTheCodingThatItDoesNotKnow)
{
    struct Row {
        std::string coding;
        std::string text;
    };
    const Row rows[] = {
        {"br", "Unknown content coding: br"},
        {"Brotli", "Unknown content coding: Brotli"},
        {"gzip, br", "Unknown content coding: br"},
        {"compress,gzip", "Unknown content coding: compress"},
        {"gzip;q=1", "Unknown content coding: gzip;q=1"},
        {"*", "Unknown content coding: *"},
        {"g zip", "Unknown content coding: g zip"},
        {"gzip, deflate", "More than one content coding: gzip, deflate"},
        {"gzip, gzip", "More than one content coding: gzip, gzip"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.coding);
        ServerRequest request("POST", "/", TEXT);
        request.set("Content-Encoding", row.coding);
        HTTPEncoderDecoder coder(request, request.response());
        try {
            coder.getInputStream(request.stream());
            ADD_FAILURE() << "no exception";
        } catch (const Poco::NotImplementedException& failure) {
            EXPECT_EQ(failure.message(), row.text);
        }
    }
}

TEST(HTTPEncoderDecoder, LetsABodyPassUpToTheLimit)
{
    for (const std::string coding : {"identity", "gzip", "deflate"}) {
        const std::string whole = coding == "identity" ? TEXT : encoded(coding, TEXT);
        for (const std::uint64_t limit :
             {std::uint64_t(0), std::uint64_t(TEXT.size()), std::uint64_t(TEXT.size() + 1),
              std::numeric_limits<std::uint64_t>::max()}) {
            SCOPED_TRACE(coding + " up to " + std::to_string(limit));
            ServerRequest request("POST", "/", whole);
            request.set("Content-Encoding", coding);
            HTTPEncoderDecoder coder(request, request.response());
            coder.setInputLimit(limit);
            EXPECT_EQ(readBody(coder, request), TEXT);
        }
    }
}

TEST(HTTPEncoderDecoder, RefusesABodyPastTheLimit)
{
    for (const std::string coding : {"identity", "gzip", "deflate"}) {
        const std::string whole = coding == "identity" ? TEXT : encoded(coding, TEXT);
        for (std::uint64_t limit = 1; limit < TEXT.size(); ++limit) {
            SCOPED_TRACE(coding + " up to " + std::to_string(limit));
            ServerRequest request("POST", "/", whole);
            request.set("Content-Encoding", coding);
            HTTPEncoderDecoder coder(request, request.response());
            coder.setInputLimit(limit);
            try {
                readBody(coder, request);
                ADD_FAILURE() << "no exception";
            } catch (const ContentTooLargeException& failure) {
                EXPECT_EQ(failure.displayText(),
                          "Content too large: The body is larger than " + std::to_string(limit) + " bytes");
            }
        }
    }
}

TEST(HTTPEncoderDecoder, TellsALargeBodyFromADamagedOne)
{
    const std::unique_ptr<Poco::Exception> tooLarge(ContentTooLargeException("text").clone());
    EXPECT_EQ(dynamic_cast<Poco::DataFormatException*>(tooLarge.get()), nullptr);
    EXPECT_THROW(tooLarge->rethrow(), ContentTooLargeException);
    EXPECT_STREQ(tooLarge->name(), "Content too large");
}

TEST(HTTPEncoderDecoder, ReadsLittleOfABodyThatInflatesToMuch)
{
    const std::size_t hugeLength = 64UL * 1024 * 1024;
    const std::uint64_t limit = 100000;
    for (const std::string coding : {"gzip", "deflate"}) {
        SCOPED_TRACE(coding);
        const std::string bomb = encoded(coding, std::string(hugeLength, '\0'));
        StepwiseBuf body(bomb);
        ServerRequest request("POST");
        request.set("Content-Encoding", coding);
        request.setBodyBuffer(body);
        HTTPEncoderDecoder coder(request, request.response());
        coder.setInputLimit(limit);
        std::ostringstream read;
        EXPECT_THROW(Poco::StreamCopier::copyStream(coder.getInputStream(request.stream()), read, 8192),
                     ContentTooLargeException);
        EXPECT_LE(read.str().size(), limit);
        EXPECT_LT(body.given(), 40000U);
        EXPECT_GT(bomb.size(), 60000U);
    }
}

// Answers a request that has "Accept-Encoding" of `accepted`, each in a line of its own.
class Exchange
{
public:
    explicit Exchange(const std::vector<std::string>& accepted)
    {
        for (const std::string& line : accepted)
            request.add("Accept-Encoding", line);
        coder = std::make_unique<HTTPEncoderDecoder>(request, response);
    }

    std::string answer(const std::string& text)
    {
        std::ostringstream target;
        coder->getOutputStream(target) << text;
        EXPECT_TRUE(coder->close());
        return target.str();
    }

    ServerRequest request;
    ServerResponse response;
    std::unique_ptr<HTTPEncoderDecoder> coder;
};

std::string negotiated(const std::vector<std::string>& accepted)
{
    Exchange exchange(accepted);
    const std::string body = exchange.answer(TEXT);
    const std::string coding = exchange.response.get("Content-Encoding", "none");
    EXPECT_EQ(coding == "none" ? body : decoded(coding, body), TEXT);
    return coding;
}

TEST(HTTPEncoderDecoder, NegotiatesTheCodingOfTheAnswer)
{
    struct Row {
        std::string accepted;
        std::string coding;
    };
    const Row rows[] = {
        // names
        {"gzip", "gzip"},
        {"deflate", "deflate"},
        {"x-gzip", "gzip"},
        {"GZIP", "gzip"},
        {"identity", "none"},
        {"", "none"},
        {"br", "none"},
        {"br, zstd, gzip", "gzip"},
        {"gzip, deflate, br", "gzip"},
        {"deflate, gzip", "gzip"},
        {"deflate,gzip", "gzip"},
        {" \tdeflate\t ", "deflate"},
        {",,gzip,,", "gzip"},
        {";q=1", "none"},
        {";", "none"},
        // weights
        {"gzip;q=0.5, deflate", "deflate"},
        {"gzip;q=0.5, deflate;q=0.501", "deflate"},
        {"gzip;q=0.5, deflate;q=0.5", "gzip"},
        {"gzip ; q=0.4 , deflate ; Q=0.6", "deflate"},
        {"gzip;q=1.000, deflate;q=1", "gzip"},
        {"gzip;q=0.001", "gzip"},
        {"gzip;q=1.", "gzip"},
        {"gzip;level=9;q=0.1, deflate;q=0.2", "deflate"},
        {"gzip;level=9", "gzip"},
        // refusals
        {"gzip;q=0", "none"},
        {"gzip;q=0.000", "none"},
        {"gzip;q=0, deflate", "deflate"},
        {"gzip;q=0, deflate;q=0", "none"},
        {"gzip;q=0, gzip", "none"},
        {"gzip;q=0.5x", "none"},
        {"gzip;q=0.x, deflate;q=0.1", "deflate"},
        // any
        {"*", "gzip"},
        {"*;q=0.1", "gzip"},
        {"*;q=0", "none"},
        {"gzip;q=0, *", "deflate"},
        {"deflate;q=0, gzip;q=0, *", "none"},
        {"*;q=0, deflate", "deflate"},
        {"gzip;q=0.2, *;q=0.3", "deflate"},
        {"*, gzip;q=0.5", "deflate"},
        // identity
        {"identity, gzip", "gzip"},
        {"identity, gzip;q=0.9", "none"},
        {"identity;q=0.5, gzip;q=0.4, deflate;q=0.6", "deflate"},
        {"identity;q=0.5, gzip;q=0.4, deflate;q=0.4", "none"},
        {"identity;q=0, gzip;q=0.1", "gzip"},
        {"identity;q=0", "none"},
        {"identity;q=0, *;q=0", "none"},
        // weights that are none refuse
        {"gzip;q=", "none"},
        {"gzip;q=x", "none"},
        {"gzip;q=2", "none"},
        {"gzip;q=1.001", "none"},
        {"gzip;q=-1", "none"},
        {"gzip;q=+1", "none"},
        {"gzip;q=.5", "none"},
        {"gzip;q=0.5555", "none"},
        {"gzip;q=0,5", "none"},
        {"gzip;q=1e0", "none"},
        {"gzip;q=\"1\"", "none"},
        {"gzip;q=nan, deflate;q=0.1", "deflate"},
        {"*;q=x", "none"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.accepted);
        EXPECT_EQ(negotiated({row.accepted}), row.coding);
    }
}

TEST(HTTPEncoderDecoder, CodesNothingForAClientThatNamesNoCoding)
{
    EXPECT_EQ(negotiated({}), "none");
}

TEST(HTTPEncoderDecoder, NegotiatesOverAllHeaderLines)
{
    EXPECT_EQ(negotiated({"br", "gzip;q=0.5", "deflate"}), "deflate");
    EXPECT_EQ(negotiated({"identity", "*;q=0"}), "none");
}

TEST(HTTPEncoderDecoder, CodesAnswersOfAnyLength)
{
    RandomSource random;
    for (const std::string coding : {"gzip", "deflate"}) {
        for (const std::size_t length : {1U, 2U, 1023U, 1024U, 1025U, 100000U, 3000000U}) {
            SCOPED_TRACE(coding + " of " + std::to_string(length));
            Exchange exchange({coding});
            const std::string text = randomBytes(random, length);
            EXPECT_TRUE(decoded(coding, exchange.answer(text)) == text);
        }
    }
}

TEST(HTTPEncoderDecoder, ReadsBackWhatItWrote)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        Exchange exchange({coding});
        EXPECT_EQ(readCodedBody(coding, exchange.answer(TEXT)), TEXT);
    }
}

TEST(HTTPEncoderDecoder, SaysVaryOnEveryAnswer)
{
    struct Row {
        std::vector<std::string> before;
        std::string after;
    };
    const Row rows[] = {
        {{}, "Accept-Encoding"},
        {{""}, "Accept-Encoding"},
        {{"Origin"}, "Origin, Accept-Encoding"},
        {{"Accept"}, "Accept, Accept-Encoding"},
        {{"Accept-Encoding"}, "Accept-Encoding"},
        {{"accept-encoding, Origin"}, "accept-encoding, Origin"},
        {{"*"}, "*"},
        {{"Origin", "Accept-Encoding"}, "Origin"},
        {{"Origin", "Accept"}, "Origin, Accept-Encoding"},
    };
    for (const Row& row : rows) {
        for (const std::vector<std::string>& accepted :
             {std::vector<std::string>{}, {"gzip"}, {"identity"}}) {
            SCOPED_TRACE(row.after);
            Exchange exchange(accepted);
            for (const std::string& line : row.before)
                exchange.response.add("Vary", line);
            exchange.answer(TEXT);
            exchange.answer(TEXT);
            EXPECT_EQ(exchange.response.get("Vary"), row.after);
        }
    }
}

TEST(HTTPEncoderDecoder, SaysNothingBeforeAnAnswerIsBegun)
{
    const Exchange exchange({"gzip"});
    EXPECT_TRUE(exchange.coder->close());
    EXPECT_TRUE(exchange.response.empty());
}

TEST(HTTPEncoderDecoder, SaysTheCodingWhenTheAnswerIsComplete)
{
    Exchange exchange({"gzip"});
    std::ostringstream target;
    std::ostream& stream = exchange.coder->getOutputStream(target);
    stream << TEXT << std::flush;
    EXPECT_FALSE(exchange.response.has("Content-Encoding"));
    EXPECT_TRUE(exchange.coder->close());
    EXPECT_EQ(exchange.response.get("Content-Encoding"), "gzip");
    EXPECT_EQ(decoded("gzip", target.str()), TEXT);
}

TEST(HTTPEncoderDecoder, NeverSaysACodingOfAnEmptyAnswer)
{
    for (const std::string coding : {"gzip", "deflate"}) {
        SCOPED_TRACE(coding);
        Exchange exchange({coding});
        EXPECT_EQ(exchange.answer(""), "");
        EXPECT_FALSE(exchange.response.has("Content-Encoding"));

        std::ostringstream target;
        exchange.coder->getOutputStream(target) << "" << std::flush;
        EXPECT_TRUE(exchange.coder->close());
        EXPECT_EQ(target.str(), "");
        EXPECT_FALSE(exchange.response.has("Content-Encoding"));
    }
}

TEST(HTTPEncoderDecoder, LeavesAnAnswerAloneThatIsCodedAlready)
{
    Exchange exchange({"gzip"});
    exchange.response.set("Content-Encoding", "br");
    EXPECT_EQ(exchange.answer("coded elsewhere"), "coded elsewhere");
    EXPECT_EQ(exchange.response.get("Content-Encoding"), "br");
    EXPECT_EQ(exchange.response.get("Vary"), "Accept-Encoding");
}

TEST(HTTPEncoderDecoder, CodesNothingUnderAStatusWithoutABody)
{
    for (const auto status : {HTTPResponse::HTTP_NO_CONTENT, HTTPResponse::HTTP_NOT_MODIFIED}) {
        Exchange exchange({"gzip"});
        exchange.response.setStatus(status);
        EXPECT_EQ(exchange.answer(TEXT), TEXT);
        EXPECT_FALSE(exchange.response.has("Content-Encoding"));
    }
}

TEST(HTTPEncoderDecoder, WritesNothingToTheTargetOfAnAbandonedAnswer)
{
    for (const std::string coding : {"gzip", "deflate", "identity"}) {
        SCOPED_TRACE(coding);
        Exchange exchange({coding});
        std::ostringstream abandoned;
        exchange.coder->getOutputStream(abandoned) << TEXT;
        const std::string before = abandoned.str();
        exchange.coder.reset();
        EXPECT_EQ(abandoned.str(), before);
        EXPECT_FALSE(exchange.response.has("Content-Encoding"));
    }
}

TEST(HTTPEncoderDecoder, OutlivesTheTargetOfAnAbandonedAnswer)
{
    Exchange exchange({"gzip"});
    {
        std::ostringstream abandoned;
        exchange.coder->getOutputStream(abandoned) << std::string(100000, 'x');
    }
    // the error that the service answers instead
    EXPECT_EQ(decoded("gzip", exchange.answer(TEXT)), TEXT);
}

TEST(HTTPEncoderDecoder, ForgetsTheCodingOfAnAnswerThatWasNotSent)
{
    Exchange exchange({"gzip"});
    exchange.answer(TEXT);
    EXPECT_EQ(exchange.response.get("Content-Encoding"), "gzip");
    EXPECT_EQ(exchange.answer(""), "");
    EXPECT_FALSE(exchange.response.has("Content-Encoding"));
    EXPECT_EQ(decoded("gzip", exchange.answer(TEXT)), TEXT);
    EXPECT_EQ(exchange.response.get("Content-Encoding"), "gzip");
}

TEST(HTTPEncoderDecoder, ClosesOnce)
{
    Exchange exchange({"gzip"});
    std::ostringstream target;
    std::ostream& stream = exchange.coder->getOutputStream(target);
    stream << TEXT;
    EXPECT_TRUE(exchange.coder->close());
    const std::string complete = target.str();
    EXPECT_TRUE(exchange.coder->close());
    stream << "late" << std::flush;
    EXPECT_TRUE(exchange.coder->close());
    exchange.coder.reset();
    EXPECT_EQ(target.str(), complete);
}

TEST(HTTPEncoderDecoder, TellsThatTheTargetFailed)
{
    for (const std::string coding : {"gzip", "deflate", "identity"}) {
        SCOPED_TRACE(coding);
        Exchange exchange({coding});
        std::ostream target(nullptr);
        exchange.coder->getOutputStream(target) << std::string(1000000, 'x');
        EXPECT_FALSE(exchange.coder->close());
        EXPECT_TRUE(exchange.coder->close());
    }
}

TEST(HTTPEncoderDecoder, TellsThatTheTargetFailedAtTheEnd)
{
    Exchange exchange({"gzip"});
    std::ostream target(nullptr);
    exchange.coder->getOutputStream(target) << "short";
    EXPECT_FALSE(exchange.coder->close());
}

TEST(HTTPEncoderDecoder, TellsOfATargetThatThrows)
{
    class ThrowingBuf : public std::streambuf
    {
    protected:
        int_type overflow(int_type) override { throw Poco::IOException("the peer is gone"); }
    };
    Exchange exchange({"gzip"});
    ThrowingBuf buffer;
    std::ostream target(&buffer);
    target.exceptions(std::ios_base::badbit);
    exchange.coder->getOutputStream(target) << TEXT;
    EXPECT_FALSE(exchange.coder->close());
}

} // namespace
} // namespace Zovi::Net
