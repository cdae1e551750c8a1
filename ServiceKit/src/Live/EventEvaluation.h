#pragma once

#include "Live/SendQueue.h"
#include "Live/Subscriptions.h"
#include "ServiceKit/TreeReader.h"

namespace Zovi::ServiceKit
{

/// What came of an evaluation.
struct EvaluatedEvent {
    Evaluation evaluation;
    Outcome outcome = Outcome::STATE;
    Fingerprint fingerprint;

    /// The message that tells of it, framed; null if it is what was known and nobody is to be sent it.
    SharedFrame frame;
};

/// Evaluates an event as a request over HTTP is evaluated. What the tree throws becomes an error message, and
/// what nobody foresaw is logged, once as long as it stays the same. Any thread may call this, but one at a
/// time for the same event.
EvaluatedEvent evaluate(const Evaluation& evaluation, const TreeReader& reader);

/// A framed message.
SharedFrame makeTextFrame(const std::string& text);

} // namespace Zovi::ServiceKit
