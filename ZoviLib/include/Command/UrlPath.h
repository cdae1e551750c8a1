#pragma once

#include "ZoviExport.h"

#include <Poco/URI.h>

#include <map>
#include <string>
#include <vector>

namespace Zovi::Command
{

/// The parsed and classified form of a request URL.
///
/// An address has at most three levels, service, resource and element, with an optional `/api/v1` in front:
///
///     [/api/v1]/                             ROOT
///     [/api/v1]/id                           ROOT_ID
///     [/api/v1]/<service>                    SERVICE
///     [/api/v1]/<service>/id                 SERVICE_ID
///     [/api/v1]/<service>/spec               SERVICE_SPEC
///     [/api/v1]/<service>/<resource>         SERVICE_RESOURCE
///     [/api/v1]/<service>/<resource>/id      SERVICE_RESOURCE_ID
///     [/api/v1]/<service>/<resource>/spec    SERVICE_RESOURCE_SPEC
///     [/api/v1]/<service>/<resource>/<uuid>  SERVICE_RESOURCE_ELEMENT
///
/// The words "id", "spec" and "accessrights" may carry a "$" in front. A segment is made of letters, digits,
/// ".", "_", "-" and "~" after percent-decoding; under the service "cdn" an element need not be a UUID.
/// Empty segments do not count. Accepted: `/host/processes?$limit=5`. Refused: `/host/processes/17`.
///
/// A bad address is no error: the constructor succeeds and the characteristic is `INVALID`. Only a text that
/// `Poco::URI` refuses, or a query that cannot be decoded, throws. Whoever receives an address tests
/// `isValid()`; the library never does.
///
/// A plain value, for one thread at a time.
class KYRZOVI_API UrlPath
{
public:
    /// What kind of address this is.
    enum Characteristic : int {
        INVALID = 0,
        ROOT = 1,
        ROOT_ID = 2,
        SERVICE = 3,
        SERVICE_ID = 4,
        SERVICE_SPEC = 5,
        SERVICE_RIGHTS = 6, ///< declared for users; no address is classified so
        SERVICE_RESOURCE = 7,
        SERVICE_RESOURCE_ID = 8,
        SERVICE_RESOURCE_SPEC = 9,
        SERVICE_RESOURCE_OBJECT = 0x0FFFFFFF,
        SERVICE_RESOURCE_ELEMENT = SERVICE_RESOURCE_OBJECT ///< the same under its second name
    };

    /// Decoded query parameters by key, byte-wise ordered; equal keys keep the order of the URL.
    using QueryParameterMap = std::multimap<std::string, std::string>;
    /// Decoded query parameters in the order of the URL.
    using QueryParameters = Poco::URI::QueryParameters;

    static const std::string URI_ROOT;     ///< "/"
    static const std::string URI_ROOT_API; ///< "/api/v1/"

    static const std::string RESERVED_KEY_ID;     ///< "id"
    static const std::string RESERVED_KEY_SPEC;   ///< "spec"
    static const std::string RESERVED_KEY_RIGHTS; ///< "accessrights"

    static const std::string QUERY_FREETEXT_SEARCH; ///< "$q"
    static const std::string QUERY_WILDCARD;        ///< "%", stands for any text inside a search value
    static const std::string QUERY_WILDCARD_HTML;   ///< "%25", the wildcard that is still percent-encoded
    static const std::string QUERY_FIELDS;          ///< "$fields"
    static const std::string QUERY_SORTBY;          ///< "$sortby"
    static const std::string QUERY_PAGING_OFFSET;   ///< "$offset"
    static const std::string QUERY_PAGING_LIMIT;    ///< "$limit"
    static const std::string QUERY_EXPAND;          ///< "$expand"

    /// The empty address: `INVALID`, without query parameters.
    UrlPath();

    /// Parses and classifies `uriInput`.
    /// Throws what `Poco::URI::getQueryParameters` throws if the query cannot be decoded.
    explicit UrlPath(const Poco::URI& uriInput);

    /// Makes a `Poco::URI` of `url` and parses it as above.
    /// Throws what `Poco::URI` throws on a text that is no URI, `Poco::SyntaxException` as a rule.
    explicit UrlPath(const std::string& url);

    /// The first level as the URL had it after decoding, case included. Empty if none was taken. An `INVALID`
    /// address keeps the texts that were taken before the check that failed; this holds for all three levels.
    const std::string& getService() const { return service; }
    /// The second level; see `getService`. It holds the word for the "spec" and "accessrights" of a service,
    /// and is empty for the "id" of a service.
    const std::string& getResource() const { return resource; }
    /// The third level; see `getService`. Empty for the "id" and "spec" of a resource.
    const std::string& getElement() const { return element; }

    /// The URL as given, complete.
    const Poco::URI& getUri() const { return uri; }

    /// The classification.
    Characteristic getCharacteristic() const { return characteristic; }

    /// True if the characteristic is not `INVALID`.
    bool isValid() const { return characteristic != INVALID; }

    /// Condemns the address: the characteristic becomes `INVALID`, everything else stays.
    void setCharacteristicInvalid() { characteristic = INVALID; }

    /// These three compare a level with a text, ignoring the case of ASCII letters.
    bool isServiceEqual(const std::string& other) const;
    bool isResourceEqual(const std::string& other) const;
    bool isElementEqual(const std::string& other) const;

    /// True if this address is one of the reserved ones, on which no query may stand.
    bool isReservedKeyword() const { return isReservedKeyword(characteristic); }
    /// True for the id, spec and rights forms, `SERVICE_RIGHTS` included; false for every other value. The
    /// "accessrights" of a service is classified as an ordinary resource and thus not reserved.
    static bool isReservedKeyword(Characteristic value);

    /// True if the query holds `queryKeyword`. Case counts.
    bool hasQueryParameter(const std::string& queryKeyword) const;

    /// The decoded values under `queryKeyword` in the order of the URL, none if the key is absent.
    std::vector<std::string> getQueryParameters(const std::string& queryKeyword) const;

    /// All decoded pairs in the order of the URL, read from the URI at every call.
    QueryParameters getQueryParameters() const;

    /// Equality of characteristic and the three levels, byte for byte. The query takes no part.
    bool operator==(const UrlPath& rhs) const;
    bool operator!=(const UrlPath& rhs) const { return !(*this == rhs); }

    /// Orders by level, then element, resource and service. A greater element or resource does not decide:
    /// the next field is asked. This is therefore no strict weak order over arbitrary addresses; do not sort
    /// by it addresses that differ in several fields.
    bool operator<(const UrlPath& rhs) const;

    /// Depth of an address form: 0 for the root, 1 service, 2 resource, 3 element, -1 for `INVALID`. Any
    /// other number gives -1 as well and is logged as an error.
    static int getCharacteristicLevel(Characteristic value);

    /// Level of `right` minus level of `left`: positive if `right` lies deeper.
    static int compareCharacteristic(Characteristic left, Characteristic right);

protected:
    /// The parts of the address, as the getters give them. The three levels keep what was read in front of
    /// the fault when the address is `INVALID`.
    Poco::URI uri;
    std::string service;
    std::string resource;
    std::string element;
    Characteristic characteristic = INVALID;
    QueryParameterMap queryParameter;

private:
    friend class RequestBase; // walks the query that parsing has decoded

    /// Takes over `uriInput`, parses and classifies it, and hands out the decoded parameters in the order of
    /// the URL.
    UrlPath(Poco::URI&& uriInput, QueryParameters& decodedQuery);

    void parse(const QueryParameters& decodedQuery);
    void classifyRootLevel(const std::string& first);
    void classifyServiceLevel(const std::string& first, const std::string& second);
    void classifyResourceLevel(const std::string& first, const std::string& second, const std::string& third);
};

} // namespace Zovi::Command
