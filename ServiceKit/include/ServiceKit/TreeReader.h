#pragma once

#include "Command/HttpResponse.h"
#include "Command/RequestBase.h"
#include "Data/ElementBase.h"
#include "ServiceKit/ServiceTree.h"

namespace Zovi::ServiceKit
{

/// Answers what is asked of a tree: the one place where an address turns into a response document.
///
///     /                        array of the services as reference objects
///     /<service>               the service as it presents itself, with its "resources"
///     /<service>/spec          the same with the specification of every resource
///     /<service>/accessrights  addresses with the methods that they allow
///     /<service>/<resource>    array of the elements
///     .../spec                 the specification of the resource
///     .../<uuid>               the element
///     .../id                   {"id":...} of the root, the service or the resource
///
/// References inside an element are written out as deep as "$expand" asks: a search looks into what is
/// written out, as it looks into everything else that an answer may show.
///
/// It asks nothing of how the request came, so that an address gives the same over HTTP and as the event of a
/// subscription. Any thread may call it.
class TreeReader
{
public:
    /// `tree` must outlive the reader.
    explicit TreeReader(const ServiceTree& tree);

    /// The answer to `request`, whose address must be valid. Throws `RequestError` if nothing is there, and
    /// what the resource throws.
    Command::HttpResponse read(const Command::RequestBase& request) const;

private:
    Command::HttpResponse readService(const Command::RequestBase& request) const;
    Command::HttpResponse readResource(const Command::RequestBase& request) const;

    const ServiceTree& m_tree;
};

/// A response with the elements that the query of `request` selects, shaped as it asks.
Command::HttpResponse answerCollection(const Command::RequestBase& request,
                                       const Data::ElementCollection& elements);

/// A response with one object, shaped as the query of `request` asks.
Command::HttpResponse answerElement(const Command::RequestBase& request, const Data::XObjectBase& element);

} // namespace Zovi::ServiceKit
