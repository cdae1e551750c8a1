#pragma once

#include "Command/WebSocketRequestObject.h"
#include "Live/Subscriptions.h"
#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/LiveOptions.h"
#include "ServiceKit/ServiceTree.h"

#include <optional>
#include <string>

namespace Zovi::ServiceKit
{

/// The text of the error message with which a message from a client is refused before its type is looked at;
/// nothing if it is a whole and correct message.
std::optional<std::string> refuseMessage(const Command::WebSocketRequestObject& request);

/// The text of the error message with which a correct request to subscribe is refused; nothing if its event
/// may be evaluated. Whether an element exists is not asked.
std::optional<std::string> refuseSubscription(const Command::WebSocketRequestObject& request,
                                              const ServiceTree& tree, const ExchangeOptions& options);

/// How often the subscriber wants to hear, as far as `options` allow. With an interval there is no message
/// in between, and none of the two times is longer than a year.
SubscriptionTerms termsOf(const Command::WebSocketRequestObject& request, const LiveOptions& options);

/// How changes of the event of a subscription that was not refused are found out.
ChangeSource changeSourceOf(const Command::WebSocketRequestObject& request, const ServiceTree& tree);

} // namespace Zovi::ServiceKit
