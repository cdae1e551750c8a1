#pragma once

#include "NoteStore.h"
#include "ServiceKit/Resource.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace Zovi::Host
{

/// Milliseconds since the Unix epoch, by the clock of the machine.
std::int64_t currentTime();

/// Notes that clients write: the one resource of the machine that can be changed from outside.
///
/// A POST to the collection makes a note and answers 201 with its address, a PUT replaces one, a DELETE
/// removes one. A note that is at fault is refused with status 400, one too many with 409, and a write with
/// an "If-Match" other than `*` with 412: the tags are weak, and no weak tag stands for exactly one content.
class NoteResource : public ServiceKit::Resource
{
public:
    static constexpr std::size_t MAX_NOTES = 1000;

    /// Shares `store`.
    NoteResource(const ServiceKit::Reference& service, const std::shared_ptr<NoteStore>& store,
                 std::function<std::int64_t()> now = currentTime, std::size_t maxNotes = MAX_NOTES);

    Data::ElementCollection elements() const override;
    Data::ElementBase::Ptr element(const Poco::UUID& id) const override;
    ServiceKit::MethodSet collectionMethods() const override;
    ServiceKit::MethodSet elementMethods() const override;
    Command::HttpResponse write(const Command::HttpRequest& request) override;
    bool tellsOfChanges() const override;

private:
    Command::HttpResponse create(const Command::HttpRequest& request);
    Command::HttpResponse replace(const Command::HttpRequest& request);
    Command::HttpResponse remove(const Command::HttpRequest& request);
    Data::ElementBase::Ptr describe(const Note& note) const;

    std::shared_ptr<NoteStore> m_store;
    std::function<std::int64_t()> m_now;
    std::size_t m_maxNotes;
};

} // namespace Zovi::Host
