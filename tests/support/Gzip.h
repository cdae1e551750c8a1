#pragma once

#include <Poco/DeflatingStream.h>

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

} // namespace Zovi::Test
