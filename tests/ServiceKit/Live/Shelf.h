#pragma once

#include "Data/AttributeValue.h"
#include "ServiceKit/ServiceTree.h"

#include <Poco/UUID.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Zovi::Test
{

/// A resource whose elements a test puts there and takes away, and which tells of it if it is made so.
class Shelf : public ServiceKit::Resource
{
public:
    Shelf(const ServiceKit::Reference& service, bool tellsOfChanges, const std::string& name = "shelf")
        : Resource(service.child(name), "Holds jars.")
        , m_tellsOfChanges(tellsOfChanges)
    {
    }

    static Poco::UUID idOf(int number)
    {
        return Poco::UUID("aaaaaaaa-0000-0000-0000-00000000000" + std::to_string(number));
    }

    std::string addressOf(int number) const { return reference().uri + "/" + idOf(number).toString(); }

    /// Puts the jar with that number there, or changes how full it is.
    void put(int number, int level)
    {
        change([&](Jars& jars) { jars[number] = level; });
    }

    void takeAway(int number)
    {
        change([&](Jars& jars) { jars.erase(number); });
    }

    /// Every question from now on is answered by calling `act` first.
    void beforeEachAnswer(std::function<void()> act)
    {
        const std::lock_guard lock(m_mutex);
        m_act = std::move(act);
    }

    int questions() const
    {
        const std::lock_guard lock(m_mutex);
        return m_questions;
    }

    Poco::JSON::Object::Ptr specification() const override { return new Poco::JSON::Object; }
    bool tellsOfChanges() const override { return m_tellsOfChanges; }

    Data::ElementCollection elements() const override
    {
        Data::ElementCollection elements;
        for (const auto& [number, level] : look())
            elements.push_back(makeJar(number, level));
        return elements;
    }

    Data::ElementBase::Ptr element(const Poco::UUID& id) const override
    {
        for (const auto& [number, level] : look()) {
            if (idOf(number) == id)
                return makeJar(number, level);
        }
        return {};
    }

private:
    using Jars = std::map<int, int>;

    void change(const std::function<void(Jars&)>& act)
    {
        {
            const std::lock_guard lock(m_mutex);
            act(m_jars);
        }
        if (m_tellsOfChanges)
            notifyChanged();
    }

    Jars look() const
    {
        std::function<void()> act;
        {
            const std::lock_guard lock(m_mutex);
            ++m_questions;
            act = m_act;
        }
        if (act)
            act();
        const std::lock_guard lock(m_mutex);
        return m_jars;
    }

    Data::ElementBase::Ptr makeJar(int number, int level) const
    {
        auto jar = makeElement(idOf(number), "jar" + std::to_string(number));
        jar->setValue<Data::AttributeValueInteger>("level", level);
        return jar;
    }

    bool m_tellsOfChanges;
    mutable std::mutex m_mutex;
    Jars m_jars;
    std::function<void()> m_act;
    mutable int m_questions = 0;
};

/// /shop with two shelves: /shop/shelf, which tells of its changes, and /shop/cellar, which has to be asked.
/// On each stand jars with the numbers and levels 1, 2 and 3.
struct Shop {
    std::shared_ptr<ServiceKit::ServiceTree> tree =
        std::make_shared<ServiceKit::ServiceTree>(Poco::UUID("11111111-2222-3333-4444-555555555555"));
    std::shared_ptr<Shelf> shelf;
    std::shared_ptr<Shelf> cellar;

    Shop()
    {
        const auto service = std::make_shared<ServiceKit::Service>(tree->root().child("shop"), "Sells jam.");
        shelf = std::make_shared<Shelf>(service->reference(), true);
        cellar = std::make_shared<Shelf>(service->reference(), false, "cellar");
        service->add(shelf);
        service->add(cellar);
        tree->add(service);
        for (int number = 1; number <= 3; ++number) {
            shelf->put(number, number);
            cellar->put(number, number);
        }
    }
};

} // namespace Zovi::Test
