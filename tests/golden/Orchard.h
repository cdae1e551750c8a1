#pragma once

#include <Data/AttributeValue.h>
#include <Data/AttributeValueArray.h>
#include <ServiceKit/ServiceTree.h>
#include <ServiceKit/Specification.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::Test
{

/// Trees that are the same on every machine: texts with bytes beyond ASCII, the ends of the integers,
/// fractions, arrays and references.
class Trees : public ServiceKit::Resource
{
public:
    explicit Trees(const ServiceKit::Reference& service)
        : Resource(service.child("trees"), "What grows in rows.")
    {
        const std::int64_t least = std::numeric_limits<std::int64_t>::min();
        const std::int64_t most = std::numeric_limits<std::int64_t>::max();
        plant(1, "apple", 2.5, 0, "säuerlich", {"sweet", "red"});
        plant(2, "Ätna-Birne", 0.1, -3, "\xC3\xA4\xF0\x9F\x8D\x90", {"sweet"});
        plant(3, "zwetschge", 1e21, most, "tab\there \"quoted\" \\", {});
        plant(4, "éclair", -1.0 / 3, least, "\x7F\x01", {"", "über"});
        plant(5, "quince", 100, 255, "apple", {"sour"});
        m_trees[0]->setValue<Neighbour>("neighbour", m_trees[1]);
        m_trees[1]->setValue<Neighbour>("neighbour", m_trees[2]);
    }

    Poco::JSON::Object::Ptr specification() const override
    {
        return ServiceKit::makeSpecification(reference().name, description(),
                                             {{"height", "number", "m", "How high it stands."},
                                              {"depth", "integer", "cm", "How deep its roots reach."},
                                              {"note", "string", "", "What somebody wrote on its label."},
                                              {"tags", "array of string", "", "What it is like."},
                                              {"neighbour", "reference", "", "The next in the row.", true}});
    }

    Data::ElementCollection elements() const override { return {m_trees.begin(), m_trees.end()}; }

    Data::ElementBase::Ptr element(const Poco::UUID& id) const override
    {
        for (const auto& tree : m_trees) {
            if (tree->getId() == id)
                return tree;
        }
        return {};
    }

private:
    using Text = Data::AttributeValueStringable<std::string>;

    class Metres : public Data::AttributeValue<double, Data::AttributeValueBase>
    {
    public:
        Metres(double value)
            : AttributeValue(value)
        {
        }
    };

    class Neighbour : public Data::AttributeValue<Data::ElementBase::Ptr, Data::AttributeValueObjectBase>
    {
    public:
        Neighbour(const Data::ElementBase::Ptr& tree)
            : AttributeValue(tree)
        {
        }

        const Data::XObjectBase* getReferencedObject() const override { return get().get(); }
    };

    void plant(int number, const std::string& name, double height, std::int64_t depth,
               const std::string& note, const std::vector<std::string>& tags)
    {
        const Poco::UUID id("aaaaaaaa-0000-4000-8000-00000000000" + std::to_string(number));
        Poco::SharedPtr<Data::ElementGeneric> tree = makeElement(id, name);
        tree->setValue<Metres>("height", height);
        tree->setValue<Data::AttributeValueInteger>("depth", depth);
        tree->setValue<Text>("note", note);
        tree->setValue<Data::AttributeValueStringArray>("tags", {tags.begin(), tags.end()});
        m_trees.push_back(tree);
    }

    std::vector<Poco::SharedPtr<Data::ElementGeneric>> m_trees;
};

inline std::shared_ptr<const ServiceKit::ServiceTree> makeOrchard()
{
    const Poco::UUID rootId("11111111-2222-3333-4444-555555555555");
    const auto tree = std::make_shared<ServiceKit::ServiceTree>(rootId);
    const auto service = std::make_shared<ServiceKit::Service>(tree->root().child("orchard"), "Grows fruit.");
    service->add(std::make_shared<Trees>(service->reference()));
    tree->add(service);
    return tree;
}

} // namespace Zovi::Test
