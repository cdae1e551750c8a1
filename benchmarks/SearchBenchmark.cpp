// What a free-text search for "%abc%" costs, beside std::string::find on the same texts and beside the
// regular expression that it stands for; and the same on documents, beside a walk over their members that
// looks at texts only. No document matches, so that all of each is looked at.

#include "Command/Query/ValueSearch.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Object.h>
#include <Poco/RegularExpression.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Object;
using Zovi::Command::AnyValueSearch;

constexpr std::size_t DOCUMENTS = 10'000;
const std::string WANTED = "abc";
const std::string LIST = "%abc%";

std::string randomText(std::mt19937& random, std::size_t length)
{
    static const std::string letters = "aeiostnrlbdfghkmpuvwyz -./";
    std::string text(length, ' ');
    for (char& character : text)
        character = letters[random() % letters.size()];
    return text;
}

std::vector<std::string> texts(std::size_t length)
{
    std::mt19937 random(1);
    std::vector<std::string> result;
    for (std::size_t i = 0; i != DOCUMENTS; ++i)
        result.push_back(randomText(random, length / 2 + random() % length));
    return result;
}

/// 13 members each: six texts, four integers, two floating-point numbers, a boolean.
std::vector<Object::Ptr> documents()
{
    std::mt19937 random(1);
    std::vector<Object::Ptr> result;
    for (std::size_t i = 0; i != DOCUMENTS; ++i) {
        Object::Ptr object = new Object;
        for (const char* name : {"id", "name", "uri", "state", "user", "command"})
            object->set(name, randomText(random, 8 + random() % 24));
        for (const char* name : {"pid", "residentMemory", "cpuTime", "threads"})
            object->set(name, static_cast<Poco::Int64>(random()));
        for (const char* name : {"load", "share"})
            object->set(name, static_cast<double>(random()) / 1000);
        object->set("kernel", random() % 2 == 0);
        result.push_back(object);
    }
    return result;
}

template <typename Item, typename Matches>
void countMatches(benchmark::State& state, const std::vector<Item>& items, Matches matches)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(std::count_if(items.begin(), items.end(), matches));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items.size()));
}

void TextsByFind(benchmark::State& state)
{
    countMatches(state, texts(static_cast<std::size_t>(state.range(0))),
                 [](const std::string& text) { return text.find(WANTED) != std::string::npos; });
}

void TextsBySearch(benchmark::State& state)
{
    const AnyValueSearch search(LIST);
    countMatches(state, texts(static_cast<std::size_t>(state.range(0))),
                 [&](const std::string& text) { return search.match(text); });
}

void TextsByRegularExpression(benchmark::State& state)
{
    const Poco::RegularExpression expression("^.*abc.*$", 0, true);
    countMatches(state, texts(static_cast<std::size_t>(state.range(0))),
                 [&](const std::string& text) { return expression.match(text, 0); });
}

bool hasWantedText(const Object::Ptr& object)
{
    return std::any_of(object->begin(), object->end(), [](const auto& member) {
        return member.second.type() == typeid(std::string) &&
               member.second.template extract<std::string>().find(WANTED) != std::string::npos;
    });
}

void DocumentsByFind(benchmark::State& state)
{
    countMatches(state, documents(), hasWantedText);
}

void DocumentsBySearch(benchmark::State& state)
{
    const AnyValueSearch search(LIST);
    std::vector<Var> values;
    for (const Object::Ptr& document : documents())
        values.emplace_back(document);
    countMatches(state, values, [&](const Var& document) { return search.match(document); });
}

void Construction(benchmark::State& state)
{
    for (auto _ : state) {
        const AnyValueSearch search(LIST);
        benchmark::DoNotOptimize(search.getSearchValues().data());
    }
}

BENCHMARK(TextsByFind)->Arg(16)->Arg(200)->Arg(4000);
BENCHMARK(TextsBySearch)->Arg(16)->Arg(200)->Arg(4000);
BENCHMARK(TextsByRegularExpression)->Arg(16)->Arg(200)->Arg(4000);
BENCHMARK(DocumentsByFind);
BENCHMARK(DocumentsBySearch);
BENCHMARK(Construction);

} // namespace
