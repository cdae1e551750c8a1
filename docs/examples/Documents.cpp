// What services and clients send each other, made and read by the library.

#include <Command/HttpResponse.h>
#include <Command/QueryFilterJSON.h>
#include <Command/RequestBase.h>
#include <Command/ResponseObject.h>
#include <Command/WebSocketRequestObject.h>
#include <Command/WebSocketResponseObject.h>

#include <Poco/JSON/Parser.h>

#include <iostream>
#include <sstream>
#include <string>

using namespace Zovi::Command;

namespace
{

/// One moment for all documents, so that this program writes the same each time.
const Poco::Int64 MOMENT = 1795261663261;

/// Writes a document, with a fixed time if it has any.
void show(ResponseObject document)
{
    if (document.getObject()->has(ResponseObject::FIELD_TIMESTAMP))
        document.setCustomField(ResponseObject::FIELD_TIMESTAMP, MOMENT);
    std::cout << document << '\n';
}

void show(const HttpResponse& response)
{
    ResponseObject document;
    document.copyObject(response.getJson().get());
    std::cout << response.getStatus() << ' ';
    show(document);
}

Poco::JSON::Array::Ptr threeRooms()
{
    return Poco::JSON::Parser()
        .parse(R"([{"id":"1","name":"attic"},{"id":"2","name":"cellar"},{"id":"3","name":"hall"}])")
        .extract<Poco::JSON::Array::Ptr>();
}

void answers()
{
    std::cout << "[data]\n";
    // [data]
    Poco::JSON::Object::Ptr room(new Poco::JSON::Object);
    room->set("name", "cellar");
    const ResponseObject answer(room);
    // [/data]
    show(answer);

    std::cout << "[page]\n";
    // [page]
    const RequestBase request(Poco::URI("/plant/rooms?$limit=1&$offset=1"));
    Poco::JSON::Array::Ptr page(new Poco::JSON::Array);
    Poco::JSON::Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(*threeRooms(), request, *page, paging);
    HttpResponse response(HTTPStatus::HTTP_OK);
    response.setDataFromArray(page, paging);
    // [/page]
    show(response);

    std::cout << "[own]\n";
    // [own]
    ResponseObject withMore(room);
    withMore.setCustomField("revision", 7);
    // [/own]
    show(withMore);
}

void statuses()
{
    std::cout << "[error]\n";
    // [error]
    const HttpResponse missing = HttpResponse::createError(HTTPStatus::HTTP_NOT_FOUND, "");
    const HttpResponse full =
        HttpResponse::createError(HTTPStatus::HTTP_CONFLICT, 1234, "all rooms are taken");
    const HttpResponse done = HttpResponse::createStatusOk(HTTPStatus::HTTP_ACCEPTED);
    // [/error]
    show(missing);
    show(full);
    show(done);

    std::cout << "[defaults]\n";
    for (const HTTPStatus status :
         {HTTPStatus::HTTP_OK, HTTPStatus::HTTP_BAD_REQUEST, HTTPStatus::HTTP_FORBIDDEN,
          HTTPStatus::HTTP_NOT_FOUND, HTTPStatus::HTTP_CONFLICT, HTTPStatus::HTTP_GONE,
          HTTPStatus::HTTP_INTERNAL_SERVER_ERROR, HTTPStatus::HTTP_NOT_IMPLEMENTED,
          HTTPStatus::HTTP_SERVICE_UNAVAILABLE})
        std::cout << status << ' ' << Zovi::getDefaultMessage(status) << '\n';
}

void requests()
{
    std::cout << "[subscribe]\n";
    // [subscribe]
    const WebSocketRequestObject toSend("subscribe", "/plant/rooms?$limit=1", 1000);
    // [/subscribe]
    toSend.getJson()->stringify(std::cout);
    std::cout << "\n[read]\n";
    // [read]
    const WebSocketRequestObject received(
        R"({"type":"subscribe","event":"/plant/rooms?$fields=name","updatelimit":500})");
    if (received.isValid() && received.getUrlPath().isValid()) {
        std::cout << "type " << received.getType() << ", resource " << received.getUrlPath().getResource()
                  << ", interval " << received.getInterval() << ", update limit " << received.getUpdateLimit()
                  << ", fields " << received.hasFieldsCriteria() << '\n';
    }
    // [/read]

    std::cout << "[refused]\n";
    for (const char* text : {
             R"({"type":"subscribe","event":"/plant/rooms"})",
             R"({"type":"wave","event":"/plant/rooms"})",
             R"({"type":"subscribe","event":"/plant/rooms","interval":0})",
             R"({"type":"subscribe","event":"/plant/rooms?$limit=many"})",
             R"({"type":"subscribe"})",
             R"({"event":"/plant/rooms"})",
             R"({"type":"subscribe","event":"/plant/rooms","interval":"1000"})",
             R"({"type":"subscribe","event":"/plant/rooms","interval":1.5})",
             R"({"type":"subscribe","event":"/plant/rooms","autosubscribe":"true"})",
             R"([1])",
             R"({})",
         }) {
        const WebSocketRequestObject message{std::string(text)};
        std::cout << (message.isValid() ? "message ok,      " : "message refused, ")
                  << (message.getUrlPath().isValid() ? "address ok       " : "address INVALID  ") << text
                  << '\n';
    }
}

void messages()
{
    const WebSocketRequestObject request("subscribe", "/plant/rooms?$limit=1");

    std::cout << "[acknowledged]\n";
    // [acknowledged]
    const WebSocketResponseObject acknowledgement(request);
    // [/acknowledged]
    show(acknowledgement);

    std::cout << "[update]\n";
    // [update]
    Poco::JSON::Array::Ptr page(new Poco::JSON::Array);
    Poco::JSON::Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(*threeRooms(), request, *page, paging);
    WebSocketResponseObject update(request, page);
    update.setPaging(paging);
    update.setType(WebSocketResponseObject::TYPE_DATA);
    // [/update]
    show(update);

    std::cout << "[errors]\n";
    // [errors]
    const WebSocketResponseObject error(request, 404, "no such resource");
    const WebSocketResponseObject refusal(request, WebSocketResponseObject::unableToUnsubscribe,
                                          "for the log alone");
    // [/errors]
    show(error);
    show(refusal);

    std::cout << "[reasons]\n";
    for (const WebSocketResponseObject::RequestError reason :
         {WebSocketResponseObject::noData, WebSocketResponseObject::badData,
          WebSocketResponseObject::invalideSubscriptionExpansionLevel,
          WebSocketResponseObject::unableToUnsubscribe}) {
        const WebSocketResponseObject message(request, reason, "");
        std::cout << message.getObject()->getValue<int>("code") << ' ' << message.getMessage() << '\n';
    }

    std::cout << "[client]\n";
    // [client]
    const WebSocketResponseObject message = WebSocketResponseObject::fromJsonString(
        R"({"data":[{"name":"attic"}],"event":"/plant/rooms","status":"ok","timestamp":5,"type":"data"})");
    if (message.isValid()) {
        std::cout << message.getType() << " of " << message.getEvent().toString() << " at "
                  << message.getTimestamp() << ": " << message.getDataAsJsonArray()->size() << " element\n";
    }
    // [/client]
}

} // namespace

int main()
{
    answers();
    statuses();
    requests();
    messages();
    return 0;
}
