#pragma once

#include <cstddef>
#include <streambuf>
#include <string>

namespace Zovi::ServiceKit
{

/// Longest head of a request in bytes, with two for the end of each line.
constexpr std::size_t MAX_HEAD_LENGTH = 64 * 1024;

/// The head of the request that `source` has next: its first line, its fields and the empty line behind them.
/// Empty lines in front of it are skipped. Not one byte beyond the head is read.
///
/// A parser that is lenient lets a head pass that another reader on the way takes for something else, and
/// then the two disagree about where the next request begins. So these heads are refused by
/// `Poco::Net::MessageException`: with control characters, with a field that is folded or has no colon, with
/// a length or transfer coding that says "=?", which is how encoded words begin, and whatever is too long or
/// incomplete. Throws `Poco::Net::NoMessageException` if there are no more bytes at all.
std::string readHead(std::streambuf& source);

} // namespace Zovi::ServiceKit
