#pragma once

#include "Logging/Log.h"
#include "UtilLibExport.h"

#include <Poco/LogStream.h>

#include <memory>
#include <ostream>
#include <streambuf>
#include <string_view>

namespace Logging
{

/// A stream whose text becomes one record of a logger.
///
/// The text is collected until the stream is flushed, by `std::endl` or `std::flush`, or destroyed, and then
/// written as one record. Carriage returns, line feeds and other control characters inside the text are
/// escaped (the tab stays) and a record is cut at `MAX_RECORD_LENGTH` bytes with a mark that says so, so
/// that nobody whose input is logged can forge a line or flood the log.
///
/// A stream belongs to one thread. Use the macros below rather than this class: they test the level first.
class KYRUTIL_API LogStream : public Poco::LogStream
{
public:
    /// Longest text of a record, in bytes after escaping, without the mark that tells of a cut.
    static constexpr std::size_t MAX_RECORD_LENGTH = 16 * 1024;

    /// A stream of records with `priority` on `logger`, which must outlive it.
    LogStream(Poco::Logger& logger, Poco::Message::Priority priority);

    /// Writes what has not been flushed yet.
    ~LogStream() override;

    LogStream(const LogStream&) = delete;
    LogStream& operator=(const LogStream&) = delete;

    /// Writes the base name of `file` and `line`, where the statement stands, and gives this stream.
    LogStream& addDefaultOutput(std::string_view file, int line);

private:
    class RecordBuffer;
    std::unique_ptr<RecordBuffer> m_record;
};

} // namespace Logging

/// Logs `text`, a chain of operands for `<<`, behind `prefix` if `priority` is active. Nothing in `text` is
/// evaluated otherwise.
#define ZOVI_LOG(priority, prefix, text)                                                                     \
    do {                                                                                                     \
        if (Logging::Log::IsLogLevelActive(priority)) {                                                      \
            Logging::LogStream zoviLogStream(Logging::Log::Logger(), priority);                              \
            zoviLogStream.addDefaultOutput(__FILE__, __LINE__) << prefix << text << std::endl;               \
        }                                                                                                    \
    } while (false)

/// The five levels in use, each with its prefix:
///
///     ZOVI_LOG_WARNING("Missing data for ETag creation.");
///     ZOVI_LOG_ERROR("Invalid characteristics found. " << number);
#define ZOVI_LOG_ERROR(text) ZOVI_LOG(Poco::Message::PRIO_ERROR, "Error: ", text)
#define ZOVI_LOG_WARNING(text) ZOVI_LOG(Poco::Message::PRIO_WARNING, "Warning: ", text)
#define ZOVI_LOG_NOTICE(text) ZOVI_LOG(Poco::Message::PRIO_NOTICE, "Notice: ", text)
#define ZOVI_LOG_DEBUG(text) ZOVI_LOG(Poco::Message::PRIO_DEBUG, "Debug: ", text)
#define ZOVI_LOG_TRACE(text) ZOVI_LOG(Poco::Message::PRIO_TRACE, "Trace: ", text)
