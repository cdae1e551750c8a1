#pragma once

#include "Command/Query/QueryParameter.h"
#include "ZoviExport.h"

#include <Poco/JSON/Object.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Zovi::Data
{
class XObjectBase;
}

namespace Zovi::Command
{

/// How far "$expand" wants references to other objects written out.
///
/// An object that is not expanded is a reference: it shows "id", "name" and "uri" only.
class KYRZOVI_API ExpandParameter : public RenderCriterion
{
public:
    ~ExpandParameter() override;

    /// What `obj` renders itself to at this expansion.
    virtual Poco::JSON::Object::Ptr apply(const Zovi::Data::XObjectBase& obj) const = 0;

    /// Trims a full document to this expansion, in place: whoever shares an object or an array nested in
    /// `obj` sees the change. What is held by value, and arrays whose first element is no object, are left
    /// alone. Throws `Poco::BadCastException` if an array of objects holds something else behind its first
    /// element, `Poco::InvalidAccessException` if that is a null; what was trimmed before stays trimmed.
    virtual void apply(Poco::JSON::Object& obj) const = 0;

protected:
    ExpandParameter() = default;
    ExpandParameter(const ExpandParameter&) = default;
    ExpandParameter(ExpandParameter&&) = default;
    ExpandParameter& operator=(const ExpandParameter&) = default;
    ExpandParameter& operator=(ExpandParameter&&) = default;
};

/// Expansion to a depth: level 0 shows the objects right inside the document as references, level 1 shows
/// those in full and the ones inside them as references, and so on. Passing through an array costs nothing.
class KYRZOVI_API LevelExpansion : public ExpandParameter
{
public:
    /// The deepest level that a request may ask for.
    static constexpr std::uint32_t MAX_LEVEL = 3;

    /// Parses a number from 0 to `MAX_LEVEL`, where a comma separates thousands. Any other text is invalid
    /// and has level 0.
    explicit LevelExpansion(const std::string& value);

    /// The level, 0 if the criterion is invalid.
    std::uint32_t getLevel() const { return m_level; }

    Poco::JSON::Object::Ptr apply(const Zovi::Data::XObjectBase& obj) const override;
    void apply(Poco::JSON::Object& obj) const override;

private:
    std::uint32_t m_level = 0;
};

/// Expansion of named fields: the objects in those are shown in full, all others as references. Names are
/// compared with the first layer of a document only.
class KYRZOVI_API PropertyExpansion : public ExpandParameter
{
public:
    /// Takes the names between the commas. Blanks around a name are dropped, empty names are skipped; no
    /// text is refused.
    explicit PropertyExpansion(const std::string& value);

    /// The names in the order of the request.
    const std::vector<std::string>& getFieldsExpansion() const { return m_fieldsExpansion; }

    Poco::JSON::Object::Ptr apply(const Zovi::Data::XObjectBase& obj) const override;
    void apply(Poco::JSON::Object& obj) const override;

private:
    std::vector<std::string> m_fieldsExpansion;
};

} // namespace Zovi::Command
