#pragma once

#include <cstddef>
#include <ostream>
#include <sstream>

namespace Zovi::Util
{

/// An output stream on memory whose content can be read in place, without the copy that `str()` makes.
///
///     AccessibleStringStream stream;
///     stream << "text";
///     write(stream.getBuffer(), stream.size());
class AccessibleStringStream : public std::ostream
{
public:
    /// The buffer behind the stream.
    class AccessibleStringBuf : public std::stringbuf
    {
    public:
        AccessibleStringBuf()
            : std::stringbuf(std::ios_base::out)
        {
        }

        /// The first character written. Valid until the next write; not terminated.
        const char* getBuffer() const { return pbase(); }

        /// The number of characters written.
        std::size_t size() const { return static_cast<std::size_t>(pptr() - pbase()); }
    };

    AccessibleStringStream()
        : std::ostream(nullptr)
    {
        rdbuf(&m_buffer);
    }

    /// The first character written. Valid until the next write; not terminated.
    const char* getBuffer() const { return m_buffer.getBuffer(); }

    /// The number of characters written.
    std::size_t size() const { return m_buffer.size(); }

private:
    AccessibleStringBuf m_buffer;
};

} // namespace Zovi::Util
