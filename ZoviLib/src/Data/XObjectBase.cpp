#include "Data/XObjectBase.h"

#include "Logging/LogStream.h"

namespace Zovi::Data
{

const std::string XObjectBase::KEY_NAME = "name";
const std::string XObjectBase::KEY_ID = "id";
const std::string XObjectBase::KEY_URI = "uri";

std::unordered_multiset<std::int64_t> XObjectBase::m_knownIds;
std::mutex XObjectBase::m_mtxKnownIds;

XObjectBase::XObjectBase(XObjectId id)
    : m_objId(INVALID_XOBJ_ID)
{
    resetId(id);
}

XObjectBase::XObjectBase(const XObjectBase& other)
    : m_objId(other.m_objId)
{
    m_knownIds.insert(m_objId);
}

XObjectBase& XObjectBase::operator=(const XObjectBase& other)
{
    // The number is read after the own one was given up, so that an object assigned to itself has none.
    resetId(INVALID_XOBJ_ID);
    m_objId = other.m_objId;
    m_knownIds.insert(m_objId);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
XObjectBase::XObjectBase(XObjectBase&& other)
    : m_objId(INVALID_XOBJ_ID)
{
    resetId(other.id());
    other.resetId(INVALID_XOBJ_ID);
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
XObjectBase& XObjectBase::operator=(XObjectBase&& other)
{
    resetId(other.id());
    other.resetId(INVALID_XOBJ_ID);
    return *this;
}

XObjectBase::~XObjectBase()
{
    resetId(INVALID_XOBJ_ID);
}

bool XObjectBase::operator<(const XObjectBase& other) const
{
    const std::string name = getName();
    const std::string otherName = other.getName();
    return name != otherName ? name < otherName : getId() < other.getId();
}

bool XObjectBase::operator>(const XObjectBase& other) const
{
    const std::string name = getName();
    const std::string otherName = other.getName();
    return name != otherName ? name > otherName : getId() > other.getId();
}

bool XObjectBase::operator==(const XObjectBase& other) const
{
    return getId() == other.getId();
}

bool XObjectBase::operator!=(const XObjectBase& other) const
{
    return !(*this == other);
}

bool XObjectBase::isXObjectAttribute(const std::string& attrname)
{
    static const std::unordered_set<std::string> XOBJECT_ATTRIBUTES{KEY_ID, KEY_NAME, KEY_URI};
    return XOBJECT_ATTRIBUTES.count(attrname) != 0;
}

void XObjectBase::resetId(XObjectId id)
{
    if (m_objId != INVALID_XOBJ_ID) {
        const std::lock_guard<std::mutex> lock(m_mtxKnownIds);
        m_knownIds.erase(m_objId);
        m_objId = INVALID_XOBJ_ID;
    }
    if (id != INVALID_XOBJ_ID) {
        if (m_knownIds.count(id) != 0)
            ZOVI_LOG_NOTICE("Duplicate XObject ID");
        m_objId = id;
    }
}

XObjectId XObjectBase::selectNextId()
{
    static XObjectId lastId = 0;
    const std::lock_guard<std::mutex> lock(m_mtxKnownIds);
    Detail::checkXObjectIdsLeft(m_knownIds.size());
    XObjectId candidate = lastId;
    while (m_knownIds.count(candidate) != 0)
        candidate = Detail::nextXObjectId(candidate);
    lastId = candidate;
    return candidate;
}

} // namespace Zovi::Data
