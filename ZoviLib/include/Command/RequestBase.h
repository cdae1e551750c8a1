#pragma once

#include "Command/Query/QueryParameter.h"
#include "Command/UrlPath.h"
#include "ZoviExport.h"

#include <Poco/SharedPtr.h>
#include <Poco/URI.h>

#include <map>
#include <string>
#include <typeinfo>
#include <vector>

namespace Zovi::Command
{

class AnyValueSearch;
class AttributeValueSearch;

/// The value searches of a request, in the order in which they came.
using AnyValueSearchCollection = std::vector<Poco::SharedPtr<AnyValueSearch>>;
using AttributeValueSearchCollection = std::vector<Poco::SharedPtr<AttributeValueSearch>>;

/// A request: its address and the criteria that its query turned into.
///
/// The constructors walk the query once. A parameter that is refused condemns the request: the address
/// becomes `INVALID`, and the parameters before and after it still turn into criteria. There is no other
/// record of it, and nothing in this library asks for it: whoever receives a request tests
/// `getUrlPath().isValid()` and answers with an error when it is false. A query on a reserved address, the
/// id or the specification of something, condemns the request too and builds no criteria.
///
/// Copies share the criteria, which are read-only. A request belongs to one thread.
class KYRZOVI_API RequestBase
{
public:
    /// Criteria of one kind, in the order in which they came.
    template <typename Criterion>
    using QueryCollection = std::vector<Poco::SharedPtr<Criterion>>;

    /// Criteria by the run-time type name of their concrete class.
    template <typename Criterion>
    using QueryCollectionMap = std::map<std::string, QueryCollection<Criterion>>;

    /// The collections and maps in use.
    using RenderCollection = QueryCollection<RenderCriterion>;
    using AnyValueSearchCollection = QueryCollection<AnyValueSearch>;
    using AttributeValueSearchCollection = QueryCollection<AttributeValueSearch>;
    using RenderCriteriaMap = QueryCollectionMap<RenderCriterion>;
    using SearchCriteriaMap = QueryCollectionMap<SearchCriterion>;

    /// Copies `uri`, parses it and walks its query. Throws what `UrlPath` throws on a query that cannot be
    /// decoded, and `Poco::RegularExpressionException` on a search value that is no valid regular expression.
    explicit RequestBase(const Poco::URI& uri);

    /// Copies `path`, which stays `INVALID` if it is, and walks its query. Throws as above on a search value;
    /// a query that cannot be decoded makes the address `INVALID` here, and is logged as a warning.
    explicit RequestBase(const UrlPath& path);

    RequestBase(const RequestBase&) = default;
    RequestBase(RequestBase&&) = default;
    RequestBase& operator=(const RequestBase&) = default;
    RequestBase& operator=(RequestBase&&) = default;
    virtual ~RequestBase();

    /// The URL as given.
    const Poco::URI& getUri() const { return m_urlPath.getUri(); }

    /// The classified address; `INVALID` if the address or the query is bad.
    const UrlPath& getUrlPath() const { return m_urlPath; }

    /// Whether there is any criterion at all, any that shapes the output, any that selects items.
    bool hasAnyCriteria() const { return hasRenderCriteria() || hasSearchCriteria(); }
    bool hasRenderCriteria() const { return !renderCriteria.empty(); }
    bool hasSearchCriteria() const { return !searchCriteria.empty(); }

    /// Whether there is a criterion of this kind: field selection, sorting, paging, expansion to a depth,
    /// expansion of named fields, search in any value, search in one attribute.
    bool hasFieldsCriteria() const;
    bool hasSortbyCriteria() const;
    bool hasPagingCriteria() const;
    bool hasExpandCriteria() const;
    bool hasPropertyExpandCriteria() const;
    bool hasFreetextCriteria() const;
    bool hasAttributeCriteria() const;

    /// The depth that "$expand" asks for, 0 if it asks for none. Should several have been added, the first
    /// counts and a warning is logged. Throws `Poco::NullPointerException` if that is a null pointer.
    unsigned int getExpansionLevel() const;

    /// Replaces `expands` by the fields that "$expand" names. False if it names none, and `expands` then
    /// stays as it was. Throws like the one above.
    bool getExpansionProperties(std::vector<std::string>& expands) const;

    /// Shares `criterion` with this request, behind those of the same type `T`. A null pointer is stored as
    /// one. Always true.
    template <typename T>
    bool addRenderCriterion(const Poco::SharedPtr<T>& criterion)
    {
        return addCriterion<T, RenderCriterion>(criterion, renderCriteria);
    }

    /// The same for a criterion that selects items.
    template <typename T>
    bool addSearchCriterion(const Poco::SharedPtr<T>& criterion)
    {
        return addCriterion<T, SearchCriterion>(criterion, searchCriteria);
    }

    /// Appends the criteria of type `T` to `out`, in their order; a stored pointer that is no `T` is appended
    /// as a null pointer. `out` is not cleared, and stays as it was if there is no criterion of that type.
    template <typename T>
    void extractRenderCriteria(QueryCollection<T>& out) const
    {
        extractCriteria<T, RenderCriterion>(out, renderCriteria);
    }

    /// The same for the criteria that select items.
    template <typename T>
    void extractSearchCriteria(QueryCollection<T>& out) const
    {
        extractCriteria<T, SearchCriterion>(out, searchCriteria);
    }

    /// The first render criterion of type `T`, a null pointer if there is none.
    template <typename T>
    Poco::SharedPtr<T> getFirstCriterion() const
    {
        QueryCollection<T> criteria;
        extractRenderCriteria<T>(criteria);
        return criteria.empty() ? Poco::SharedPtr<T>() : criteria.front();
    }

protected:
    /// For derived classes that learn their URL later and then call `initializeFromUri`: an `INVALID` address
    /// without criteria.
    RequestBase();

    /// Makes a `Poco::URI` of `url`; throws what that throws on a text that is no URI.
    explicit RequestBase(const std::string& url);

    /// Starts anew with `uri`: address and criteria are rebuilt. If `uri` equals the present one, nothing
    /// happens, and the criteria stay as they are. Throws as the constructors do.
    void initializeFromUri(const Poco::URI& uri);

private:
    template <typename T>
    static const std::string& keyOf()
    {
        static const std::string key = typeid(T).name();
        return key;
    }

    template <typename T, typename Base>
    static bool addCriterion(const Poco::SharedPtr<T>& criterion, QueryCollectionMap<Base>& map)
    {
        map[keyOf<T>()].push_back(criterion);
        return true;
    }

    template <typename T, typename Base>
    static void extractCriteria(QueryCollection<T>& retCriteria, const QueryCollectionMap<Base>& criteriaMap)
    {
        const auto entry = criteriaMap.find(keyOf<T>());
        if (entry == criteriaMap.end())
            return;
        for (const Poco::SharedPtr<Base>& criterion : entry->second)
            retCriteria.push_back(criterion.template cast<T>());
    }

    /// Texts of the two paging keys, collected during the walk, since both together make one criterion.
    struct PendingPaging {
        std::string offset;
        std::string limit;
    };

    RequestBase(Poco::URI&& uri, UrlPath::QueryParameters&& decodedQuery);

    void initialize();
    void buildCriteria(const UrlPath::QueryParameters& decodedQuery);

    // The dispatch, which knows the concrete criteria, stands in a source file of its own.
    struct Dispatch;
    void dispatchParameter(const std::string& key, const std::string& value, PendingPaging& paging);
    void dispatchPaging(const PendingPaging& paging);

    UrlPath m_urlPath;
    RenderCriteriaMap renderCriteria;
    SearchCriteriaMap searchCriteria;
};

} // namespace Zovi::Command
