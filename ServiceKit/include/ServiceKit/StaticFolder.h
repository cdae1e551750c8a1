#pragma once

#include "Command/UrlPath.h"

#include <map>
#include <string>

namespace Zovi::ServiceKit
{

/// The first part of the address of every file; no service can have this name.
inline const std::string SERVICE_OF_FILES = "cdn";

/// A file that is served as it is.
struct StaticFile {
    std::string mediaType; ///< what "Content-Type" says: "text/css; charset=utf-8"
    std::string content;   ///< the bytes
};

/// Files that are held in memory: a page, and what the page needs.
///
///     auto folder = std::make_shared<StaticFolder>("explorer");
///     folder->add("index.html", "<!doctype html>...");
///     tree->add(folder);                                      // at /cdn/explorer/index.html
///
/// Nothing is read from a disk, so that no address leads to anything but these files. It is filled before the
/// server starts and only read from then on.
class StaticFolder
{
public:
    /// Throws `Poco::InvalidArgumentException` if `name` cannot stand in an address.
    explicit StaticFolder(const std::string& name);

    /// The name in its address.
    const std::string& name() const { return m_name; }

    /// The media type follows from the end of `fileName`: .html, .js, .css, .svg, .png or .json. Throws
    /// `Poco::InvalidArgumentException` if it is none of these, if the name cannot stand in an address, or if
    /// it is taken. Case counts.
    void add(const std::string& fileName, const std::string& content);

    /// A null pointer if there is no such file. Lives as long as the folder.
    const StaticFile* find(const std::string& fileName) const;

private:
    std::string m_name;
    std::map<std::string, StaticFile> m_files;
};

/// True if `path` is the address of a file, as "/cdn/explorer/index.html" is. Whether it exists is not asked.
bool isStaticFile(const Command::UrlPath& path);

} // namespace Zovi::ServiceKit
