#include "Live/EventEvaluation.h"

#include "Command/HttpResponse.h"
#include "Command/WebSocketResponseObject.h"
#include "Live/Frame.h"
#include "Logging/LogStream.h"
#include "ServiceKit/RequestError.h"

#include <Poco/Exception.h>
#include <Poco/SHA1Engine.h>

#include <exception>
#include <string>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HTTPStatus;
using Command::ResponseObject;
using Command::WebSocketResponseObject;

Fingerprint fingerprintOf(const std::string& text)
{
    Poco::SHA1Engine engine;
    engine.update(text);
    const Poco::DigestEngine::Digest& digest = engine.digest();
    return {digest.begin(), digest.end()};
}

/// The fingerprint does not know of the time, which is another with every message.
EvaluatedEvent tellState(const Evaluation& evaluation, const TreeReader& reader)
{
    const Command::HttpResponse answer = reader.read(*evaluation.request);
    ResponseObject document;
    document.copyObject(answer.getJson().get());
    WebSocketResponseObject message(*evaluation.request);
    message.setData(&document);
    message.setPaging(document.getPaging());
    message.getObject()->remove(ResponseObject::FIELD_TIMESTAMP);
    EvaluatedEvent event{evaluation, Outcome::STATE, fingerprintOf(message.toJsonString()), {}};
    if (evaluation.isAlwaysSent || event.fingerprint != evaluation.known) {
        message.setTimeStamp();
        event.frame = makeTextFrame(message.toJsonString());
    }
    return event;
}

EvaluatedEvent tellError(const Evaluation& evaluation, HTTPStatus status, const std::string& message)
{
    const std::string text = message.empty() ? getDefaultMessage(status) : message;
    const std::string error =
        WebSocketResponseObject(*evaluation.request, static_cast<Poco::UInt16>(status), text).toJsonString();
    const Outcome outcome = status == HTTPStatus::HTTP_NOT_FOUND ? Outcome::ABSENT : Outcome::ERROR;
    return {evaluation, outcome, fingerprintOf(error), makeTextFrame(error)};
}

EvaluatedEvent tellUnforeseen(const Evaluation& evaluation, const std::string& reason)
{
    EvaluatedEvent event = tellError(evaluation, HTTPStatus::HTTP_INTERNAL_SERVER_ERROR, "");
    if (event.fingerprint != evaluation.known)
        ZOVI_LOG_ERROR("Event failed: " << evaluation.request->getEvent().toString() << ": " << reason);
    return event;
}

} // namespace

EvaluatedEvent evaluate(const Evaluation& evaluation, const TreeReader& reader)
{
    try {
        return tellState(evaluation, reader);
    } catch (const RequestError& error) {
        return tellError(evaluation, error.status(), error.what());
    } catch (const Poco::Exception& failure) {
        return tellUnforeseen(evaluation, failure.displayText());
    } catch (const std::exception& failure) {
        return tellUnforeseen(evaluation, failure.what());
    } catch (...) {
        return tellUnforeseen(evaluation, "unknown exception");
    }
}

SharedFrame makeTextFrame(const std::string& text)
{
    return std::make_shared<const std::string>(makeFrame(Opcode::TEXT, text));
}

} // namespace Zovi::ServiceKit
