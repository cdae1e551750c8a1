#include "ServiceKit/StaticFolder.h"

#include "ServiceKit/Text.h"

#include <Poco/Exception.h>
#include <Poco/Path.h>
#include <Poco/URI.h>

#include <string_view>

namespace Zovi::ServiceKit
{

namespace
{

using Command::UrlPath;

std::string mediaTypeOf(const std::string& fileName)
{
    static const struct {
        std::string_view extension;
        const char* mediaType;
    } KNOWN[] = {
        {"html", "text/html; charset=utf-8"},
        {"js", "text/javascript; charset=utf-8"},
        {"css", "text/css; charset=utf-8"},
        {"svg", "image/svg+xml; charset=utf-8"},
        {"png", "image/png"},
        {"json", "application/json; charset=utf-8"},
    };
    const std::string extension = Poco::Path(fileName).getExtension();
    for (const auto& known : KNOWN) {
        if (extension == known.extension)
            return known.mediaType;
    }
    throw Poco::InvalidArgumentException("No known media type: " + inQuotes(fileName));
}

/// The parser of addresses itself decides what may be a name.
void requireAddress(const std::string& folderName, const std::string& fileName)
{
    Poco::URI address;
    address.setPath("/" + SERVICE_OF_FILES + "/" + folderName + "/" + fileName);
    const UrlPath path(address);
    if (!isStaticFile(path) || path.getResource() != folderName || path.getElement() != fileName)
        throw Poco::InvalidArgumentException("Not usable as an address: " + inQuotes(address.getPath()));
}

} // namespace

StaticFolder::StaticFolder(const std::string& name)
    : m_name(name)
{
    requireAddress(name, "index.html");
}

void StaticFolder::add(const std::string& fileName, const std::string& content)
{
    requireAddress(m_name, fileName);
    if (!m_files.emplace(fileName, StaticFile{mediaTypeOf(fileName), content}).second)
        throw Poco::InvalidArgumentException("Name is taken: " + inQuotes(fileName));
}

const StaticFile* StaticFolder::find(const std::string& fileName) const
{
    const auto file = m_files.find(fileName);
    return file == m_files.end() ? nullptr : &file->second;
}

bool isStaticFile(const UrlPath& path)
{
    return path.getCharacteristic() == UrlPath::SERVICE_RESOURCE_ELEMENT &&
           path.getService() == SERVICE_OF_FILES;
}

} // namespace Zovi::ServiceKit
