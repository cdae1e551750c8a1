// The smallest useful service: a shelf of books at http://127.0.0.1:8081/shelf/books.

#include <ServiceKit/EndSignals.h>
#include <ServiceKit/HttpServer.h>
#include <ServiceKit/Values.h>

#include <Poco/Exception.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace Zovi;
using namespace Zovi::ServiceKit;

struct Book {
    std::string title, author;
    int pages;
};
const std::vector<Book> BOOKS = {
    {"Emma", "Jane Austen", 474},
    {"Persuasion", "Jane Austen", 249},
    {"Frankenstein", "Mary Shelley", 280},
};

// [service]
class Books : public Resource
{
public:
    explicit Books(const Reference& shelf)
        : Resource(shelf.child("books"), "The books on the shelf.",
                   {{"author", "string", "", "Who wrote it."}, {"pages", "integer", "", "How long it is."}})
    {
    }

    Data::ElementCollection elements() const override
    {
        Data::ElementCollection books;
        for (const Book& book : BOOKS) {
            auto element = makeElement(idOf(book.title), book.title);
            element->setValue<Text>("author", book.author);
            element->setValue<Integer>("pages", book.pages);
            books.push_back(element);
        }
        return books;
    }
};
// [/service]

void serve(std::uint16_t port)
{
    const EndSignals signals; // before any thread begins

    const auto tree = std::make_shared<ServiceTree>(Poco::UUID("8d6a0aa4-1e5e-4a3c-9d2e-5d1b8c9f0a11"));
    const auto shelf = std::make_shared<Service>(tree->root().child("shelf"), "What there is to read.");
    shelf->add(std::make_shared<Books>(shelf->reference()));
    tree->add(shelf);

    ServerOptions options;
    options.port = port;
    HttpServer server(tree, options);
    server.start();
    std::cout << "listens on http://" << server.address().toString() << std::endl;
    signals.wait();
}

int main(int argc, char** argv)
{
    try {
        serve(toPort(argc > 1 ? argv[1] : "8081"));
        return 0;
    } catch (const Poco::Exception& failure) {
        std::cerr << failure.displayText() << std::endl;
        return 1;
    }
}
