// The books of examples/minimal on Poco's own server, without the kit.

#include <Command/HttpRequest.h>
#include <Command/HttpResponse.h>
#include <Command/QueryFilterJSON.h>
#include <HTTPEncoderDecoder.h>
#include <Logging/LogStream.h>

#include <Poco/Exception.h>
#include <Poco/JSON/Parser.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/RegularExpression.h>

#include <csignal>
#include <iostream>
#include <string>

using namespace Zovi::Command;

namespace
{

Poco::JSON::Array::Ptr allBooks()
{
    return Poco::JSON::Parser()
        .parse(R"([
            {"id":"1","name":"Emma","uri":"/shelf/books/1","author":"Jane Austen","pages":474},
            {"id":"2","name":"Persuasion","uri":"/shelf/books/2","author":"Jane Austen","pages":249},
            {"id":"3","name":"Frankenstein","uri":"/shelf/books/3","author":"Mary Shelley","pages":280}])")
        .extract<Poco::JSON::Array::Ptr>();
}

// [answer]
HttpResponse answer(const HttpRequest& request)
{
    const UrlPath& path = request.getUrlPath();
    if (!path.isValid())
        return HttpResponse::createError(HTTPStatus::HTTP_BAD_REQUEST, "");
    if (path.getCharacteristic() != UrlPath::SERVICE_RESOURCE || !path.isServiceEqual("shelf") ||
        !path.isResourceEqual("books"))
        return HttpResponse::createError(HTTPStatus::HTTP_NOT_FOUND, "");
    if (request.getType() != HttpRequest::GET && request.getType() != HttpRequest::HEAD)
        return HttpResponse::createError(HTTPStatus::HTTP_METHOD_NOT_ALLOWED, "");

    Poco::JSON::Array::Ptr page(new Poco::JSON::Array);
    Poco::JSON::Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(*allBooks(), request, *page, paging);
    HttpResponse response(HTTPStatus::HTTP_OK);
    response.setDataFromArray(page, paging);
    return response;
}
// [/answer]

// [handler]
class Handler : public Poco::Net::HTTPRequestHandler
{
public:
    void handleRequest(Poco::Net::HTTPServerRequest& request,
                       Poco::Net::HTTPServerResponse& response) override
    {
        Zovi::Net::HTTPEncoderDecoder coder(request, response);
        coder.setInputLimit(64 * 1024);
        answerOrRefuse(request, coder)
            .send(response, coder, request.getMethod() == Poco::Net::HTTPRequest::HTTP_HEAD);
    }

private:
    static HttpResponse answerOrRefuse(Poco::Net::HTTPServerRequest& request,
                                       Zovi::Net::HTTPEncoderDecoder& coder)
    {
        try {
            return answer(HttpRequest(request, coder));
        } catch (const Poco::RegularExpressionException&) {
            return HttpResponse::createError(HTTPStatus::HTTP_BAD_REQUEST, "");
        } catch (const Poco::Exception& failure) {
            ZOVI_LOG_ERROR("Request failed: " << failure.displayText());
            return HttpResponse::createError(HTTPStatus::HTTP_INTERNAL_SERVER_ERROR, "");
        }
    }
};
// [/handler]

class HandlerFactory : public Poco::Net::HTTPRequestHandlerFactory
{
public:
    Poco::Net::HTTPRequestHandler* createRequestHandler(const Poco::Net::HTTPServerRequest&) override
    {
        return new Handler;
    }
};

} // namespace

int main(int argc, char** argv)
{
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &end, nullptr);

    const int port = argc > 1 ? std::stoi(argv[1]) : 8081;
    Poco::Net::ServerSocket socket(Poco::Net::SocketAddress("127.0.0.1", static_cast<Poco::UInt16>(port)));
    Poco::Net::HTTPServer server(new HandlerFactory, socket, new Poco::Net::HTTPServerParams);
    server.start();
    std::cout << "listens on http://" << socket.address().toString() << std::endl;
    int signal = 0;
    sigwait(&end, &signal);
    server.stopAll(true);
}
