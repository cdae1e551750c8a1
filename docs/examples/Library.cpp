// The shelf of examples/minimal grown by three resources: authors, whom books refer to, wishes, which
// clients write, and the climate, which changes by itself.

#include <ServiceKit/Body.h>
#include <ServiceKit/ElementReference.h>
#include <ServiceKit/EndSignals.h>
#include <ServiceKit/HttpServer.h>
#include <ServiceKit/Values.h>

#include <Poco/Exception.h>
#include <Poco/Timestamp.h>
#include <Poco/UUIDGenerator.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Zovi;
using namespace Zovi::ServiceKit;

// [authors]
struct Author {
    std::string name;
    int born;
};
const std::vector<Author> AUTHORS = {{"Jane Austen", 1775}, {"Mary Shelley", 1797}};

class Authors : public Resource
{
public:
    explicit Authors(const Reference& shelf)
        : Resource(shelf.child("authors"), "Who wrote the books.",
                   {{"born", "integer", "", "The year of birth."}})
    {
    }

    Data::ElementCollection elements() const override
    {
        Data::ElementCollection authors;
        for (const Author& author : AUTHORS) {
            auto element = makeElement(idOf(author.name), author.name);
            element->setValue<Integer>("born", author.born);
            authors.push_back(element);
        }
        return authors;
    }
};
// [/authors]

struct Book {
    std::string title, author;
    int pages;
};
const std::vector<Book> BOOKS = {
    {"Emma", "Jane Austen", 474},
    {"Persuasion", "Jane Austen", 249},
    {"Frankenstein", "Mary Shelley", 280},
};

// [books]
class Books : public Resource
{
public:
    Books(const Reference& shelf, const std::shared_ptr<const Authors>& authors)
        : Resource(
              shelf.child("books"), "The books on the shelf.",
              {{"author", "reference", "", "Who wrote it."}, {"pages", "integer", "", "How long it is."}})
        , m_authors(authors)
    {
    }

    Data::ElementCollection elements() const override
    {
        Data::ElementCollection books;
        for (const Book& book : BOOKS) {
            auto element = makeElement(idOf(book.title), book.title);
            element->setValue<ElementReference>("author",
                                                {*m_authors, m_authors->idOf(book.author), book.author});
            element->setValue<Integer>("pages", book.pages);
            books.push_back(element);
        }
        return books;
    }

private:
    std::shared_ptr<const Authors> m_authors;
};
// [/books]

// [wishes]
class Wishes : public Resource
{
public:
    explicit Wishes(const Reference& shelf)
        : Resource(shelf.child("wishes"), "Books that readers would like to see here.")
    {
    }

    Data::ElementCollection elements() const override
    {
        const std::lock_guard lock(m_mutex);
        Data::ElementCollection wishes;
        for (const auto& [id, title] : m_titles)
            wishes.push_back(makeElement(id, title));
        return wishes;
    }

    MethodSet collectionMethods() const override { return {Method::GET, Method::HEAD, Method::POST}; }
    MethodSet elementMethods() const override
    {
        return {Method::GET, Method::HEAD, Method::PUT, Method::DELETE};
    }

    Command::HttpResponse write(const Command::HttpRequest& request) override
    {
        switch (request.getType()) {
        case Method::POST:
            return create(request);
        case Method::PUT:
            return change(request);
        case Method::DELETE:
            return remove(request);
        default:
            return Resource::write(request);
        }
    }

    bool tellsOfChanges() const override { return true; }

private:
    using Method = MethodSet::Method;

    Command::HttpResponse create(const Command::HttpRequest& request)
    {
        const std::string title = titleIn(request);
        const Poco::UUID id = Poco::UUIDGenerator::defaultGenerator().createRandom();
        {
            const std::lock_guard lock(m_mutex);
            if (m_titles.size() == 100)
                throw RequestError(Command::HTTPStatus::HTTP_CONFLICT, "there are 100 wishes already");
            keep(id, title);
        }
        notifyChanged();
        Command::HttpResponse answer(Command::HTTPStatus::HTTP_CREATED, show(id, title));
        answer.setLocation(reference().element(id, title).uri);
        return answer;
    }

    Command::HttpResponse change(const Command::HttpRequest& request)
    {
        const Poco::UUID id = elementId(request.getUrlPath());
        const std::string title = titleIn(request);
        {
            const std::lock_guard lock(m_mutex);
            if (m_titles.count(id) == 0)
                throw absence(request.getUrlPath());
            keep(id, title);
        }
        notifyChanged();
        return Command::HttpResponse(Command::HTTPStatus::HTTP_OK, show(id, title));
    }

    Command::HttpResponse remove(const Command::HttpRequest& request)
    {
        const Poco::UUID id = elementId(request.getUrlPath());
        {
            const std::lock_guard lock(m_mutex);
            if (m_titles.erase(id) == 0)
                throw absence(request.getUrlPath());
        }
        notifyChanged();
        return Command::HttpResponse::createStatusOk();
    }

    static std::string titleIn(const Command::HttpRequest& request)
    {
        Body body(request);
        const std::string title = body.text("name", 100);
        body.refuseOthers();
        if (title.empty())
            throw RequestError(Command::HTTPStatus::HTTP_BAD_REQUEST, "'name' must not be empty");
        return title;
    }

    /// The caller holds the lock.
    void keep(const Poco::UUID& id, const std::string& title)
    {
        for (const auto& [other, taken] : m_titles) {
            if (taken == title && other != id)
                throw RequestError(Command::HTTPStatus::HTTP_CONFLICT, "that is wished for already");
        }
        m_titles[id] = title;
    }

    Command::ResponseObject show(const Poco::UUID& id, const std::string& title) const
    {
        return Command::ResponseObject(makeElement(id, title)->toJSON(0));
    }

    mutable std::mutex m_mutex;
    std::map<Poco::UUID, std::string> m_titles;
};
// [/wishes]

// [climate]
/// Stands for the driver of a thermometer.
double measure()
{
    static int count = 0;
    return 20 + 0.25 * (++count % 4);
}

class Climate : public Resource
{
public:
    explicit Climate(const Reference& shelf)
        : Resource(
              shelf.child("climate"), "What the books stand in.",
              {{"temperature", "number", "°C", "Of the air."}, {"measured", "time", "ms", "When it was so."}})
        , m_thread([this] { measureEverySecond(); })
    {
    }

    ~Climate() override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_end.notify_all();
        m_thread.join();
    }

    Data::ElementCollection elements() const override
    {
        auto air = makeElement(idOf("air"), "air");
        const std::lock_guard lock(m_mutex);
        air->setValue<Number>("temperature", m_temperature);
        air->setValue<Integer>("measured", m_measured.epochMicroseconds() / 1000);
        return {air};
    }

    bool tellsOfChanges() const override { return true; }

private:
    void measureEverySecond()
    {
        while (!endsWithinASecond()) {
            const double temperature = measure();
            {
                const std::lock_guard lock(m_mutex);
                m_temperature = temperature;
                m_measured.update();
            }
            notifyChanged();
        }
    }

    bool endsWithinASecond()
    {
        std::unique_lock lock(m_mutex);
        return m_end.wait_for(lock, std::chrono::seconds(1), [this] { return m_isEnding; });
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_end;
    bool m_isEnding = false;
    double m_temperature = measure();
    Poco::Timestamp m_measured;
    std::thread m_thread;
};
// [/climate]

void serve(std::uint16_t port)
{
    const EndSignals signals; // before any thread begins

    const auto tree = std::make_shared<ServiceTree>(Poco::UUID("8d6a0aa4-1e5e-4a3c-9d2e-5d1b8c9f0a11"));
    const auto shelf = std::make_shared<Service>(tree->root().child("shelf"), "What there is to read.");
    // [add]
    const auto authors = std::make_shared<Authors>(shelf->reference());
    shelf->add(authors);
    shelf->add(std::make_shared<Books>(shelf->reference(), authors));
    // [/add]
    // [add-wishes]
    shelf->add(std::make_shared<Wishes>(shelf->reference()));
    // [/add-wishes]
    // [add-climate]
    shelf->add(std::make_shared<Climate>(shelf->reference()));
    // [/add-climate]
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
