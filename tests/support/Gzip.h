#pragma once

#include <Poco/DeflatingStream.h>
#include <Poco/InflatingStream.h>
#include <Poco/StreamCopier.h>

#include <sstream>
#include <string>

namespace Zovi::Test
{

/// `text` in the coding that a "Content-Encoding: gzip" announces.
inline std::string gzip(const std::string& text)
{
    std::ostringstream coded;
    Poco::DeflatingOutputStream coder(coded, Poco::DeflatingStreamBuf::STREAM_GZIP);
    coder << text;
    coder.close();
    return coded.str();
}

/// The text that was coded.
inline std::string gunzip(const std::string& coded)
{
    std::istringstream source(coded);
    Poco::InflatingInputStream decoder(source, Poco::InflatingStreamBuf::STREAM_GZIP);
    decoder.exceptions(std::ios::badbit);
    std::string text;
    Poco::StreamCopier::copyToString(decoder, text);
    return text;
}

} // namespace Zovi::Test
