#pragma once

#include "ContentCoding.h"

#include <cstdint>
#include <istream>
#include <memory>
#include <optional>

namespace Zovi::Net
{

/// What a request says about its body, and what the server allows.
struct RequestBodyRules {
    ContentCoding coding = ContentCoding::IDENTITY;
    std::optional<std::uint64_t> declaredLength; ///< bytes on the wire, if declared
    bool mayBeAbsent = false;                    ///< no bytes at all are no error, whatever the coding
    std::uint64_t limit = 0;                     ///< most bytes that may come out, 0 for no limit
};

/// The body that `source` holds, with its coding undone. The stream throws when `rules` are broken, and
/// passes on what the buffer of `source`, which must outlive it, throws.
std::unique_ptr<std::istream> openRequestBody(std::istream& source, const RequestBodyRules& rules);

} // namespace Zovi::Net
