#include "Command/Query/FilterParameter.h"

#include "Data/XObjectBase.h"

#include <algorithm>
#include <string_view>

namespace Zovi
{

const std::string FieldsPagingRegEx = R"(([^,\(]+(\(\$offset:[0-9A-Fa-f-]+,\$limit:[0-9-]+\))?))";
const std::string FieldsPagingSubRegEx = R"(^\(\$offset:([0-9A-Fa-f-]+),\$limit:([0-9-]+)\)$)";

namespace Command
{

namespace
{

/// Room for as many fields is made at once; a hostile list of commas gets no more than that.
constexpr std::size_t USUAL_FIELDS = 16;

constexpr std::string_view OFFSET_KEYWORD = "($offset:";
constexpr std::string_view LIMIT_KEYWORD = ",$limit:";

bool endsName(char character)
{
    return character == ',' || character == '(';
}

bool isNumberCharacter(char character)
{
    return (character >= '0' && character <= '9') || character == '-';
}

bool isUuidCharacter(char character)
{
    return isNumberCharacter(character) || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

/// Removes `prefix` from the front of `text`, if it stands there.
bool take(std::string_view& text, std::string_view prefix)
{
    if (text.substr(0, prefix.size()) != prefix)
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// Removes the leading characters that `belongs` accepts from `text` and returns them.
template <typename Predicate>
std::string_view takeWhile(std::string_view& text, Predicate belongs)
{
    const auto end = std::find_if_not(text.begin(), text.end(), belongs);
    const std::string_view taken = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(taken.size());
    return taken;
}

/// What FieldsPagingRegEx finds, as positions in the parameter.
struct FieldMatch {
    std::size_t begin = std::string_view::npos; ///< none found if npos
    std::size_t length = 0;                     ///< of the name and what is in parentheses
    std::string_view name;
    std::string_view offset; ///< empty if the name carries no slice
    std::string_view limit;
};

/// Reads "($offset:<offset>,$limit:<limit>)" behind a name, or nothing.
void matchSlice(std::string_view rest, FieldMatch& match)
{
    const std::size_t available = rest.size();
    if (!take(rest, OFFSET_KEYWORD))
        return;
    const std::string_view offset = takeWhile(rest, isUuidCharacter);
    if (offset.empty() || !take(rest, LIMIT_KEYWORD))
        return;
    const std::string_view limit = takeWhile(rest, isNumberCharacter);
    if (limit.empty() || !take(rest, ")"))
        return;
    match.offset = offset;
    match.limit = limit;
    match.length += available - rest.size();
}

/// The first field at `from` or behind it: the expression is not anchored.
FieldMatch findField(std::string_view text, std::size_t from)
{
    FieldMatch match;
    const auto begin =
        std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), endsName);
    if (begin == text.end())
        return match;
    match.begin = static_cast<std::size_t>(begin - text.begin());
    const auto end = std::find_if(begin, text.end(), endsName);
    match.length = static_cast<std::size_t>(end - begin);
    match.name = text.substr(match.begin, match.length);
    matchSlice(text.substr(match.begin + match.length), match);
    return match;
}

/// Appends the field of `match`; false if its slice is refused.
bool appendField(const FieldMatch& match, std::vector<FilterField>& fields)
{
    const std::string name(match.name);
    if (match.offset.empty()) {
        fields.emplace_back(name);
        return true;
    }
    const Poco::SharedPtr<Paging> paging(new Paging(std::string(match.offset), std::string(match.limit)));
    if (!paging->isValid())
        return false;
    fields.emplace_back(name, paging);
    return true;
}

/// Cuts the array in the member `value` of `source` to `paging`, in a copy.
Poco::JSON::Array::Ptr pagedCopy(const Poco::Dynamic::Var& value, const Paging& paging)
{
    Poco::JSON::Array::Ptr source;
    if (value.type() == typeid(Poco::JSON::Array::Ptr))
        source = value.extract<Poco::JSON::Array::Ptr>();
    Poco::JSON::Array::Ptr copy(new Poco::JSON::Array(source ? *source : value.extract<Poco::JSON::Array>()));
    paging.applyArrayPaging(*copy);
    return copy;
}

bool isArray(const Poco::Dynamic::Var& value)
{
    return value.type() == typeid(Poco::JSON::Array::Ptr) || value.type() == typeid(Poco::JSON::Array);
}

} // namespace

FilterField::FilterField(const std::string& name)
    : m_name(name)
{
}

FilterField::FilterField(const std::string& name, const Poco::SharedPtr<Paging>& paging)
    : m_name(name)
    , m_paging(paging)
{
}

FilterParameter::FilterParameter(const std::string& urlpart)
{
    static const Poco::SharedPtr<Paging> NO_PAGING;
    static const FilterParameterCollection DEFAULT_FIELDS = {{Data::XObjectBase::KEY_ID, NO_PAGING},
                                                             {Data::XObjectBase::KEY_NAME, NO_PAGING},
                                                             {Data::XObjectBase::KEY_URI, NO_PAGING}};
    m_valid = parseParameter(urlpart, m_filterFields);
    m_filterCollection = DEFAULT_FIELDS;
    for (const FilterField& field : m_filterFields)
        m_filterCollection.emplace(field.getName(), field.getPaging());
}

bool FilterParameter::parseParameter(const std::string& parameter, std::vector<FilterField>& out_filter)
{
    out_filter.clear();
    const std::string_view text = parameter;
    const auto commas = static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
    out_filter.reserve(std::min(USUAL_FIELDS, commas + 1));
    FieldMatch match = findField(text, 0);
    for (std::size_t position = 0; match.begin != std::string_view::npos;) {
        if (!appendField(match, out_filter))
            return false;
        // Meant so: the text is consumed from its front by the length of the match, wherever the match
        // stands, so that a name behind a stray comma or parenthesis is read again and then refused.
        position += match.length;
        if (position == text.size())
            return true;
        if (text[position] != ',')
            return false;
        ++position;
        if (position > match.begin)
            match = findField(text, position);
    }
    return true;
}

void FilterParameter::applyFilter(const Poco::JSON::Object& srcObject, Poco::JSON::Object& out_result) const
{
    out_result.clear();
    for (const auto& [key, value] : srcObject) {
        const auto field = m_filterCollection.find(key);
        if (field == m_filterCollection.end())
            continue;
        if (field->second && isArray(value))
            out_result.set(key, pagedCopy(value, *field->second));
        else
            out_result.set(key, value);
    }
}

void FilterParameter::applyFilter(Poco::JSON::Object& inout_object) const
{
    for (const std::string& name : inout_object.getNames()) {
        const auto field = m_filterCollection.find(name);
        if (field == m_filterCollection.end()) {
            inout_object.remove(name);
        } else if (field->second) {
            if (Poco::JSON::Array::Ptr array = inout_object.getArray(name))
                field->second->applyArrayPaging(*array);
        }
    }
}

void FilterParameter::applyFilter(Poco::JSON::Array& inout_array) const
{
    for (const Poco::Dynamic::Var& element : inout_array) {
        if (element.type() != typeid(Poco::JSON::Object::Ptr))
            continue;
        Poco::JSON::Object::Ptr object = element.extract<Poco::JSON::Object::Ptr>();
        if (object)
            applyFilter(*object);
    }
}

} // namespace Command
} // namespace Zovi
