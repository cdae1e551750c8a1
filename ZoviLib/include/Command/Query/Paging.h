#pragma once

#include "Command/Query/QueryParameter.h"
#include "ZoviExport.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/Types.h>

#include <cstddef>
#include <iterator>
#include <string>

namespace Zovi::Command
{

class RequestBase;

/// The slice of a list that "$offset" and "$limit" ask for.
///
/// A slice has an anchor and a signed length. The anchor is the index of an element, counted from the end if
/// negative, or the UUID of an element. A limit above 0 runs forward from the anchor; one below 0 runs
/// backward and ends at the anchor, in the order of the list all the same. 0 asks for the total alone.
///
///     $offset=20&$limit=10     elements 20 to 29
///     $offset=-1&$limit=-10    the last ten
///     $offset=5                25 elements from the sixth on, see PAGING_LIMIT_DEFAULT
///     $limit=0                 how many there are, and none of them
///     $offset=abc              refused: neither a UUID nor a number
///
/// A comma separates thousands: "1,000" is 1000. Read-only after construction; any number of threads may cut
/// lists of their own with one criterion.
class KYRZOVI_API Paging : public RenderCriterion
{
public:
    /// The limit where an offset comes without one, and of `createDefaultPaging`.
    static constexpr Poco::UInt16 PAGING_LIMIT_DEFAULT = 25;

    /// The largest limit, in either direction, that a request may ask for; more is cut to it with a warning.
    /// -2147483648 alone is let through, since it has no positive counterpart in 32 bits.
    static constexpr Poco::UInt16 PAGING_LIMIT_MAX = 100;

    /// What the anchor is.
    enum PagingType {
        TYPE_TOTAL = 0, ///< none: only the total is asked for
        TYPE_UUID = 1,  ///< the id of an element
        TYPE_INDEX = 2  ///< an index
    };

    /// Which of the two texts a slice was made from.
    enum PagingRequestType {
        NONE = 0, ///< neither, or a limit of 0 alone
        OFFSET_LIMIT = 1,
        OFFSET = 2, ///< the limit is absent, refused or 0
        LIMIT = 3,  ///< the offset is absent or refused
        FORCED = 4  ///< the limit was cut to `PAGING_LIMIT_MAX`
    };

    /// Parses the values of "$offset" and "$limit"; either may be empty. Invalid if both are, or if one is
    /// no text of its kind. The other one is read all the same; a refused offset counts as 0, and the value
    /// of a refused limit is unspecified.
    Paging(const std::string& offsetpart, const std::string& limitpart);

    /// A slice from the index `offset`. Both numbers are taken as they are, without a bound; a limit of 0
    /// makes a slice without elements here, not a question for the total.
    Paging(int offset, int limit);

    /// The slice of a request that asks for none: the first `PAGING_LIMIT_DEFAULT` elements.
    static Paging createDefaultPaging();

    /// The anchor's UUID as the client spelled it, empty if the anchor is an index.
    const std::string& getUUIDOffset() const { return m_uuidOffset; }

    /// The anchor's index, counted from the end if negative; 0 if the anchor is a UUID.
    int getNumberOffset() const { return m_numberOffset; }

    /// The signed length, see above.
    int getLimit() const { return m_limit; }

    /// What the anchor is, and how the slice came about.
    PagingType getType() const { return m_type; }
    PagingRequestType getPagingRequestType() const { return m_pagingRequestType; }

    /// Cuts `inout_jsonArray` to the slice and returns the index of the slice's first element in the array as
    /// it was.
    ///
    /// Elements are compared by their member "id" if the first one is an object held by pointer; otherwise no
    /// UUID is found. When something is cut away, the objects and arrays that stay and were held by value are
    /// held by pointer afterwards, as copies. See the template below for the rest.
    int applyArrayPaging(Poco::JSON::Array& inout_jsonArray) const;

    /// Cuts `container`, any random-access container, to the slice and returns the index of the slice's first
    /// element in the container as it was. `getId` gives the id text of an element.
    ///
    /// A UUID that is not found starts at the front. An index outside the container, and a question for the
    /// total, empty it and give 0. An invalid criterion leaves it alone and gives 0. An exception from
    /// `getId` leaves the container as it was. A UUID is compared as text, so that case counts.
    template <typename Container, typename GetId>
    int applyArrayPaging(Container& container, GetId getId) const
    {
        const auto size = static_cast<Poco::Int64>(container.size());
        const Slice slice = sliceOf(size, [&](Poco::Int64 index) {
            return getId(*std::next(container.begin(), static_cast<std::ptrdiff_t>(index)));
        });
        if (slice.count == 0) {
            container.clear();
        } else if (slice.count < size) {
            const auto first = std::next(container.begin(), static_cast<std::ptrdiff_t>(slice.start));
            const auto last = std::next(first, static_cast<std::ptrdiff_t>(slice.count));
            Container kept(std::make_move_iterator(first), std::make_move_iterator(last));
            container.swap(kept);
        }
        return static_cast<int>(slice.start);
    }

    /// Fills `out_pagingObject` with what a client needs to walk the list: "offsetId", "offset", "limit",
    /// "total", "totalPages" and the links "previous" and "next". Other members of it stay.
    ///
    /// @param reqCommand  the request; the links keep its service, its resource and its other parameters in
    ///                    their order, decoded and not encoded again
    /// @param type        what `getType()` gave; for `TYPE_TOTAL` only "total" is set
    /// @param id          the id of the page's first element; empty leaves "offsetId" out
    /// @param offset      the index of the page's first element, counted from the end if negative
    /// @param limit       the signed length of a page
    /// @param pagingTotal how many elements there were before the cut
    ///
    /// An offset outside the list gives no links, a limit of 0 gives one page; both are logged as errors.
    /// "next" lies in the direction of the limit: towards lower indices if that is negative.
    static void createPagingInfo(const RequestBase& reqCommand, PagingType type, const std::string& id,
                                 int offset, int limit, unsigned int pagingTotal,
                                 Poco::JSON::Object& out_pagingObject);

private:
    struct Slice {
        Poco::Int64 start;
        Poco::Int64 count;
    };

    void parseOffset(const std::string& text, bool& offsetConfigured);
    void parseLimit(const std::string& text, bool& forcedPaging, bool& limitConfigured);
    void updatePagingRequestType(bool forcedPaging, bool offsetConfigured, bool limitConfigured);

    /// The slice of a list of `size` elements that starts, or if the limit is negative ends, at `anchor`;
    /// nothing if `anchor` lies outside.
    Slice sliceFrom(Poco::Int64 anchor, Poco::Int64 size) const;

    /// The slice of a list of `size` elements, of which `idAt` gives the id at an index.
    template <typename IdAt>
    Slice sliceOf(Poco::Int64 size, IdAt idAt) const
    {
        if (!m_valid || size == 0)
            return {0, size};
        if (m_type == TYPE_TOTAL)
            return {0, 0};
        if (m_type == TYPE_INDEX)
            return sliceFrom(m_numberOffset < 0 ? m_numberOffset + size : m_numberOffset, size);
        for (Poco::Int64 index = 0; index < size; ++index) {
            if (idAt(index) == m_uuidOffset)
                return sliceFrom(index, size);
        }
        return sliceFrom(0, size);
    }

    std::string m_uuidOffset;
    Poco::Int32 m_numberOffset = 0;
    Poco::Int32 m_limit = 0;
    PagingType m_type = TYPE_INDEX;
    PagingRequestType m_pagingRequestType = NONE;
};

} // namespace Zovi::Command
